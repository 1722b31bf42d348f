// Counts what a hook does, without disturbing it: loaded with LD_PRELOAD, it intercepts a few calls
// of the C library. When the process ends it appends a line to the file that BENCH_COUNTS names:
//
//   <waits> <stops> <blocked microseconds> <processes started>
//
// waits    how often the process turned from sending to the server to reading its answers;
//          several statements sent together are answered in one wait
// stops    how often the answer was not there yet, which depends on how quick the server is
//
// Only stream connections of the local domain count, which is how the server is reached, and only
// processes started by posix_spawn, which the platform uses.

#include <dlfcn.h>
#include <poll.h>
#include <spawn.h>
#include <sys/socket.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace {

using Clock = std::chrono::steady_clock;

unsigned long waits = 0;
unsigned long stops = 0;
unsigned long processes = 0;
Clock::duration blocked{0};
bool unanswered = false;

/// The C library's own function of that name.
template <class Function>
Function* original(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

bool is_server(int descriptor) {
  int type = 0;
  int domain = 0;
  socklen_t size = sizeof(type);
  return getsockopt(descriptor, SOL_SOCKET, SO_TYPE, &type, &size) == 0 && type == SOCK_STREAM &&
         getsockopt(descriptor, SOL_SOCKET, SO_DOMAIN, &domain, &size) == 0 && domain == AF_UNIX;
}

/// Counts a stop from its construction to its destruction.
class Stop {
 public:
  Stop() { ++stops; }
  ~Stop() { blocked += Clock::now() - start_; }
  Stop(const Stop&) = delete;
  Stop& operator=(const Stop&) = delete;

 private:
  Clock::time_point start_ = Clock::now();
};

__attribute__((destructor)) void report() {
  const char* path = std::getenv("BENCH_COUNTS");
  if (path == nullptr) {
    return;
  }
  using Microseconds = std::chrono::duration<double, std::micro>;
  if (std::FILE* file = std::fopen(path, "ae")) {
    std::fprintf(file, "%lu %lu %.0f %lu\n", waits, stops, Microseconds(blocked).count(),
                 processes);
    std::fclose(file);
  }
}

}  // namespace

// NOLINTBEGIN(readability-inconsistent-declaration-parameter-name): the C library's names are reserved
extern "C" {

ssize_t send(int descriptor, const void* data, size_t size, int flags) {
  static const auto real = original<ssize_t(int, const void*, size_t, int)>("send");
  unanswered = unanswered || is_server(descriptor);
  return real(descriptor, data, size, flags);
}

ssize_t recv(int descriptor, void* data, size_t size, int flags) {
  static const auto real = original<ssize_t(int, void*, size_t, int)>("recv");
  static const auto real_poll = original<int(pollfd*, nfds_t, int)>("poll");
  if (!is_server(descriptor)) {
    return real(descriptor, data, size, flags);
  }
  waits += unanswered ? 1 : 0;
  unanswered = false;
  pollfd incoming{descriptor, POLLIN, 0};
  if ((flags & MSG_DONTWAIT) != 0 || real_poll(&incoming, 1, 0) > 0) {
    return real(descriptor, data, size, flags);
  }
  const Stop stop;
  return real(descriptor, data, size, flags);
}

int poll(pollfd* descriptors, nfds_t count, int timeout) {
  static const auto real = original<int(pollfd*, nfds_t, int)>("poll");
  if (timeout == 0 || count != 1 || !is_server(descriptors->fd) ||
      (descriptors->events & POLLIN) == 0) {
    return real(descriptors, count, timeout);
  }
  if (const int ready = real(descriptors, count, 0); ready != 0) {
    return ready;
  }
  const Stop stop;
  return real(descriptors, count, timeout);
}

int posix_spawn(pid_t* child, const char* path, const posix_spawn_file_actions_t* actions,
                const posix_spawnattr_t* attributes, char* const words[],
                char* const environment[]) {
  static const auto real = original<decltype(posix_spawn)>("posix_spawn");
  ++processes;
  return real(child, path, actions, attributes, words, environment);
}

}  // extern "C"
// NOLINTEND(readability-inconsistent-declaration-parameter-name)
