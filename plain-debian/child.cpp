#include "child.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <utility>

#include "platform/database.h"

namespace {

using Clock = std::chrono::steady_clock;

class SpawnActions {
 public:
  SpawnActions() { posix_spawn_file_actions_init(&actions_); }
  ~SpawnActions() { posix_spawn_file_actions_destroy(&actions_); }
  SpawnActions(const SpawnActions&) = delete;
  SpawnActions& operator=(const SpawnActions&) = delete;

  void open_null(int descriptor, int flags) {
    posix_spawn_file_actions_addopen(&actions_, descriptor, "/dev/null", flags, 0);
  }
  void use(int from, int as) { posix_spawn_file_actions_adddup2(&actions_, from, as); }
  void close_from(int first) { posix_spawn_file_actions_addclosefrom_np(&actions_, first); }
  const posix_spawn_file_actions_t* get() const { return &actions_; }

 private:
  posix_spawn_file_actions_t actions_{};
};

class SpawnAttributes {
 public:
  SpawnAttributes() {
    posix_spawnattr_init(&attributes_);
    sigset_t all;
    sigfillset(&all);
    posix_spawnattr_setsigdefault(&attributes_, &all);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes_, &none);
    posix_spawnattr_setflags(
        &attributes_,
        static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID));
  }
  ~SpawnAttributes() { posix_spawnattr_destroy(&attributes_); }
  SpawnAttributes(const SpawnAttributes&) = delete;
  SpawnAttributes& operator=(const SpawnAttributes&) = delete;

  const posix_spawnattr_t* get() const { return &attributes_; }

 private:
  posix_spawnattr_t attributes_{};
};

class Descriptor {
 public:
  Descriptor() = default;
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() { reset(); }
  Descriptor(Descriptor&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
  Descriptor& operator=(Descriptor&& other) noexcept {
    reset();
    number_ = std::exchange(other.number_, -1);
    return *this;
  }

  int get() const { return number_; }
  void reset() {
    if (number_ >= 0) {
      close(std::exchange(number_, -1));
    }
  }

 private:
  int number_ = -1;
};

int left_until(Clock::time_point end, ChildLimit limit) {
  if (limit == kNoLimit) {
    return -1;
  }
  const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(end - Clock::now());
  return left.count() > 0 ? static_cast<int>(left.count()) : 0;
}

/// Feeds `input` to the child, which may be slow or may not read at all.
void write_all(Descriptor pipe, const std::string& input, Clock::time_point end, ChildLimit limit) {
  std::size_t done = 0;
  while (done < input.size()) {
    const ssize_t written = write(pipe.get(), input.data() + done, input.size() - done);
    if (written > 0) {
      done += static_cast<std::size_t>(written);
      continue;
    }
    if (written < 0 && errno == EINTR) {
      continue;
    }
    pollfd ready{pipe.get(), POLLOUT, 0};
    if (written == 0 || errno != EAGAIN || poll(&ready, 1, left_until(end, limit)) <= 0) {
      return;
    }
  }
}

int wait_for(pid_t child) {
  int status = 0;
  while (waitpid(child, &status, 0) < 0) {
    if (errno != EINTR) {
      return -1;
    }
  }
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

int wait_until(pid_t child, Clock::time_point end, ChildLimit limit) {
  // A child that has ended is found by asking again: a hook waits for one child at a time and
  // rarely with a limit, so a signal or a descriptor for it would cost more than it gives.
  for (;;) {
    int status = 0;
    const pid_t ended = waitpid(child, &status, WNOHANG);
    if (ended == child) {
      return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }
    if (ended < 0 && errno != EINTR) {
      return -1;
    }
    if (left_until(end, limit) == 0) {
      kill(-child, SIGKILL);
      wait_for(child);
      return -1;
    }
    poll(nullptr, 0, 5);
  }
}

}  // namespace

int run_child(const std::vector<std::string>& words, const std::string& input, ChildLimit limit) {
  my_mysql_settle();

  SpawnActions actions;
  Descriptor reading;
  Descriptor writing;
  if (input.empty()) {
    actions.open_null(STDIN_FILENO, O_RDONLY);
  } else {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
      return -1;
    }
    reading = Descriptor(ends[0]);
    writing = Descriptor(ends[1]);
    fcntl(writing.get(), F_SETFL, O_NONBLOCK);
    actions.use(reading.get(), STDIN_FILENO);
  }
  actions.open_null(STDOUT_FILENO, O_WRONLY);
  actions.open_null(STDERR_FILENO, O_WRONLY);
  actions.close_from(STDERR_FILENO + 1);

  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (const std::string& word : words) {
    arguments.push_back(const_cast<char*>(word.c_str()));  // posix_spawn does not write to them
  }
  arguments.push_back(nullptr);

  const SpawnAttributes attributes;
  pid_t child = 0;
  if (posix_spawn(&child, arguments[0], actions.get(), attributes.get(), arguments.data(),
                  environ) != 0) {
    return -1;
  }
  const Clock::time_point end = Clock::now() + limit;
  reading.reset();
  if (!input.empty()) {
    write_all(std::move(writing), input, end, limit);
  }
  return limit == kNoLimit ? wait_for(child) : wait_until(child, end, limit);
}
