#include "child.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <thread>

#include "platform/database.h"

namespace {

using Clock = std::chrono::steady_clock;

/// A child's descriptors, signals and session.
struct ChildSetup {
  posix_spawn_file_actions_t actions{};
  posix_spawnattr_t attributes{};

  /// `input`: the descriptor that becomes its standard input.
  explicit ChildSetup(int input) {
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    for (const int output : {STDOUT_FILENO, STDERR_FILENO}) {
      posix_spawn_file_actions_addopen(&actions, output, "/dev/null", O_WRONLY, 0);
    }
    posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);

    posix_spawnattr_init(&attributes);
    sigset_t signals;
    sigfillset(&signals);
    posix_spawnattr_setsigdefault(&attributes, &signals);
    sigemptyset(&signals);
    posix_spawnattr_setsigmask(&attributes, &signals);
    posix_spawnattr_setflags(
        &attributes,
        static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSID));
  }
  ~ChildSetup() {
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
  }
  ChildSetup(const ChildSetup&) = delete;
  ChildSetup& operator=(const ChildSetup&) = delete;
};

/// A descriptor from which `input` is read; negative on failure. An unnamed file, not a pipe: the
/// child may be slow or may not read at all.
int open_input(const std::string& input) {
  if (input.empty()) {
    return open("/dev/null", O_RDONLY | O_CLOEXEC);
  }
  const int file = memfd_create("input", MFD_CLOEXEC);
  if (file >= 0 &&
      pwrite(file, input.data(), input.size(), 0) != static_cast<ssize_t>(input.size())) {
    close(file);
    return -1;
  }
  return file;
}

int wait_for(pid_t child, ChildLimit limit) {
  constexpr std::chrono::milliseconds kPause{5};
  const Clock::time_point end = Clock::now() + limit;
  bool is_killed = false;
  // Polling is enough: a hook waits for one child at a time, and rarely with a limit.
  for (;;) {
    int status = 0;
    const pid_t ended = waitpid(child, &status, limit == kNoLimit || is_killed ? 0 : WNOHANG);
    if (ended == child) {
      return WIFEXITED(status) && !is_killed ? WEXITSTATUS(status) : -1;
    }
    if (ended < 0 && errno != EINTR) {
      return -1;
    }
    if (ended == 0 && Clock::now() < end) {
      std::this_thread::sleep_for(kPause);
    } else if (ended == 0) {
      kill(-child, SIGKILL);
      is_killed = true;
    }
  }
}

}  // namespace

int run_child(const std::vector<std::string>& words, const std::string& input, ChildLimit limit) {
  my_mysql_settle();

  std::vector<char*> arguments;
  arguments.reserve(words.size() + 1);
  for (const std::string& word : words) {
    arguments.push_back(const_cast<char*>(word.c_str()));  // posix_spawn does not write to them
  }
  arguments.push_back(nullptr);

  const int input_file = open_input(input);
  if (input_file < 0) {
    return -1;
  }
  const ChildSetup setup(input_file);
  pid_t child = 0;
  const int error = posix_spawn(&child, arguments[0], &setup.actions, &setup.attributes,
                                arguments.data(), environ);
  close(input_file);
  return error == 0 ? wait_for(child, limit) : -1;
}
