#include "kit/child.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <system_error>
#include <utility>
#include <vector>

namespace kit {

namespace {

/// Adds pointers to the words; they are valid as long as those.
void add_pointers(std::vector<char*>& pointers, const Words& words) {
  for (const std::string& word : words) {
    pointers.push_back(const_cast<char*>(word.c_str()));
  }
}

}  // namespace

double milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

Child::Child(const Program& program) {
  std::vector<char*> words;
  add_pointers(words, program.words);
  words.push_back(nullptr);
  std::vector<char*> environment;
  add_pointers(environment, program.environment);
  for (char** variable = environ; *variable != nullptr; ++variable) {
    environment.push_back(*variable);
  }
  environment.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  if (program.input < 0) {
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
  } else {
    posix_spawn_file_actions_adddup2(&files, program.input, STDIN_FILENO);
  }
  if (program.output >= 0) {
    posix_spawn_file_actions_adddup2(&files, program.output, STDOUT_FILENO);
    posix_spawn_file_actions_adddup2(&files, program.output, STDERR_FILENO);
  }
  posix_spawn_file_actions_addclosefrom_np(&files, STDERR_FILENO + 1);
  const int error =
      posix_spawnp(&id_, program.path.c_str(), &files, nullptr, words.data(), environment.data());
  posix_spawn_file_actions_destroy(&files);
  if (error != 0) {
    throw std::system_error(error, std::generic_category(), program.path);
  }
}

Child::Child(const std::function<int()>& body) : id_(fork()) {
  if (id_ == 0) {
    _exit(body());
  }
  if (id_ < 0) {
    throw std::system_error(errno, std::generic_category(), "fork");
  }
}

Child::~Child() {
  if (!over_) {
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
  }
}

Child::Child(Child&& other) noexcept
    : watch_(other.watch_), id_(other.id_), over_(std::exchange(other.over_, true)) {}

Child& Child::operator=(Child&& other) noexcept {
  std::swap(watch_, other.watch_);
  std::swap(id_, other.id_);
  std::swap(over_, other.over_);
  return *this;
}

bool Child::runs() const {
  siginfo_t ended{};
  return waitid(P_PID, static_cast<id_t>(id_), &ended, WEXITED | WNOHANG | WNOWAIT) == 0 &&
         ended.si_pid == 0;
}

Usage Child::finish() {
  int status = 0;
  rusage used{};
  wait4(id_, &status, 0, &used);
  over_ = true;
  return {WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status), watch_.ms(),
          milliseconds(used.ru_utime) + milliseconds(used.ru_stime),
          static_cast<double>(used.ru_maxrss)};
}

Usage run(const Words& words) {
  return Child(Program{words.front(), words, {}}).finish();
}

Output output_of(const Words& words) {
  Pipe pipe;
  Child child(Program{words.front(), words, {}, -1, pipe.write_end()});
  std::string text = pipe.rest();
  return {child.finish().status, std::move(text)};
}

Pipe::Pipe() {
  if (pipe2(ends_, O_CLOEXEC) != 0) {
    throw std::system_error(errno, std::generic_category(), "pipe");
  }
}

Pipe::~Pipe() {
  close(ends_[0]);
  close_write_end();
}

void Pipe::close_write_end() {
  if (ends_[1] >= 0) {
    close(std::exchange(ends_[1], -1));
  }
}

std::string Pipe::rest() {
  close_write_end();
  std::string text;
  char part[4096];
  for (ssize_t size = 0; (size = read(ends_[0], part, sizeof part)) > 0;) {
    text.append(part, static_cast<std::size_t>(size));
  }
  return text;
}

}  // namespace kit
