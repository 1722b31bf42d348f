#include "launcher.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <utility>

namespace {

/// The launcher's ends of its pipes.
constexpr int kRequests = 3;
constexpr int kAnswers = 4;

double milliseconds(const timespec& time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

double now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return milliseconds(time);
}

Usage start_and_wait(char** words, char** environment) {
  Usage usage{};
  rusage used{};
  pid_t child = 0;
  const double start = now();
  if (words[0] == nullptr ||
      posix_spawn(&child, words[0], nullptr, nullptr, words, environment) != 0 ||
      wait4(child, &usage.status, 0, &used) != child) {
    usage.status = -1;
  }
  usage.wall_ms = now() - start;
  usage.processor_ms = milliseconds(used.ru_utime) + milliseconds(used.ru_stime);
  usage.peak_kib = static_cast<double>(used.ru_maxrss);
  return usage;
}

/// Serves requests until the driver closes its end. A request is the number of words, the words and
/// the additional variables, each ended by a NUL. No memory is allocated here, so that the launcher
/// stays smaller than anything it starts.
[[noreturn]] void serve() {
  static char text[PIPE_BUF];
  static char* pointers[PIPE_BUF];
  for (;;) {
    const ssize_t size = read(kRequests, text, sizeof(text));
    if (size <= 0) {
      _exit(0);
    }
    const auto words = static_cast<unsigned char>(text[0]);
    std::size_t count = 0;
    const auto add = [&count](char* pointer) { pointers[count++] = pointer; };
    for (char* next = text + 1; next < text + size; next += std::strlen(next) + 1) {
      add(next);
      if (count == words) {
        add(nullptr);
      }
    }
    for (char** variable = environ; *variable != nullptr; ++variable) {
      add(*variable);
    }
    add(nullptr);
    const Usage usage = start_and_wait(pointers, pointers + words + 1);
    if (write(kAnswers, &usage, sizeof(usage)) != sizeof(usage)) {
      _exit(1);
    }
  }
}

[[noreturn]] void fail() {
  std::perror("bench-driver: launcher");
  std::exit(1);
}

}  // namespace

Launcher::Launcher() {
  int requests[2];
  int answers[2];
  // O_DIRECT: a request is read as it was written, neither in pieces nor with the next.
  if (pipe2(requests, O_CLOEXEC | O_DIRECT) != 0 || pipe2(answers, O_CLOEXEC) != 0 ||
      (process_ = fork()) < 0) {
    fail();
  }
  if (process_ == 0) {
    // The numbers are above those of the standard descriptors and may be taken, so in two steps.
    const int request = fcntl(requests[0], F_DUPFD, kAnswers + 1);
    const int answer = fcntl(answers[1], F_DUPFD, kAnswers + 1);
    dup3(request, kRequests, O_CLOEXEC);
    dup3(answer, kAnswers, O_CLOEXEC);
    closefrom(kAnswers + 1);  // or the ends of other launchers would stay open
    serve();
  }
  close(requests[0]);
  close(answers[1]);
  request_ = requests[1];
  answer_ = answers[0];
}

Usage Launcher::run(const std::vector<std::string>& words,
                    const std::vector<std::string>& environment) const {
  std::string request(1, static_cast<char>(words.size()));
  for (const auto* texts : {&words, &environment}) {
    for (const std::string& text : *texts) {
      request.append(text).append(1, '\0');
    }
  }
  Usage usage{};
  if (request.size() > PIPE_BUF ||
      write(request_, request.data(), request.size()) != static_cast<ssize_t>(request.size()) ||
      read(answer_, &usage, sizeof(usage)) != sizeof(usage)) {
    fail();
  }
  return usage;
}

Launcher::Launcher(Launcher&& other) noexcept
    : request_(std::exchange(other.request_, -1)),
      answer_(std::exchange(other.answer_, -1)),
      process_(std::exchange(other.process_, -1)) {}

Launcher::~Launcher() {
  if (process_ > 0) {
    close(request_);
    close(answer_);
    waitpid(process_, nullptr, 0);
  }
}
