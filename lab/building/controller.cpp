#include "building/controller.h"
#include "values/paths.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/inotify.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

extern "C" {  // the header forgets that it may be read by C++
#include <sys/pidfd.h>
}

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

namespace fs = std::filesystem;

namespace lab {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::string_view kPrefix = "[CMD]=";
constexpr std::string_view kUpdate = ".update";
constexpr const char* kSaid = "/var/log/ap-run/hooks.log";  // what a hook prints, if ever

double milliseconds(const timeval& time) {
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
}

}  // namespace

struct Controller::Running {
  Hook hook;
  pid_t process = 0;
  int ended = -1;  // readable when the process has ended
  Clock::time_point since;
};

Controller::Controller(int parallel)
    : parallel_(static_cast<std::size_t>(parallel)),
      watch_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)) {
  // A command appears by a link or a renaming, so it is whole when it can be seen.
  if (watch_ < 0 || inotify_add_watch(watch_, paths::kCommands, IN_CREATE | IN_MOVED_TO) < 0) {
    std::perror(paths::kCommands);
    std::exit(1);
  }
}

Controller::~Controller() {
  close(watch_);
}

Controller::Running Controller::start(const Hook& hook) {
  Running running{hook, 0, -1, Clock::now()};
  std::vector<char*> words;
  for (const std::string& word : hook.words) {
    words.push_back(const_cast<char*>(word.c_str()));
  }
  words.push_back(nullptr);
  posix_spawn_file_actions_t files;
  posix_spawn_file_actions_init(&files);
  posix_spawn_file_actions_addopen(&files, 0, "/dev/null", O_RDONLY, 0);
  posix_spawn_file_actions_addopen(&files, 1, kSaid, O_WRONLY | O_CREAT | O_APPEND, 0644);
  posix_spawn_file_actions_adddup2(&files, 1, 2);
  const std::string path = "/usr/sbin/" + hook.words.front();
  const int error =
      posix_spawn(&running.process, path.c_str(), &files, nullptr, words.data(), environ);
  posix_spawn_file_actions_destroy(&files);
  running.ended = error == 0 ? pidfd_open(running.process, 0) : -1;
  if (running.ended < 0) {
    std::fprintf(stderr, "%s cannot be started\n", path.c_str());
    std::exit(1);
  }
  return running;
}

void Controller::finish(const Running& running, int minute) {
  const std::chrono::duration<double, std::milli> wall = Clock::now() - running.since;
  int status = 0;
  rusage used{};
  wait4(running.process, &status, 0, &used);
  close(running.ended);
  const Words& words = running.hook.words;
  const bool typed = words.front() == "ap-command" && words.size() > 1;
  runs_.push_back({words.front() + (typed ? " " + words[1] : ""), running.hook.ap, minute,
                   wall.count(), milliseconds(used.ru_utime) + milliseconds(used.ru_stime),
                   static_cast<int>(used.ru_maxrss)});
  if (status != 0) {
    std::fprintf(stderr, "%s ended with %d\n", runs_.back().name.c_str(), status);
  }
}

void Controller::run(const std::vector<Hook>& hooks, int minute) {
  std::vector<Running> running;
  auto next = hooks.begin();
  while (next != hooks.end() || !running.empty()) {
    while (next != hooks.end() && running.size() < parallel_) {
      running.push_back(start(*next++));
    }
    std::vector<pollfd> waiting{{watch_, POLLIN, 0}};
    for (const Running& hook : running) {
      waiting.push_back({hook.ended, POLLIN, 0});
    }
    poll(waiting.data(), waiting.size(), -1);
    // At once: a hook that finds its slot taken sleeps for a second before it tries again.
    take_commands();
    for (std::size_t i = running.size(); i-- > 0;) {
      if (waiting[i + 1].revents != 0) {
        finish(running[i], minute);
        running.erase(running.begin() + static_cast<std::ptrdiff_t>(i));
      }
    }
  }
  take_commands();
}

void Controller::take_commands() {
  char events[4096];
  while (read(watch_, events, sizeof events) > 0) {
  }
  for (const auto& entry : fs::directory_iterator(paths::kCommands)) {
    const std::string name = entry.path().filename();
    if (!name.starts_with(kPrefix)) {
      continue;
    }
    std::string mac = name.substr(kPrefix.size());
    if (mac.ends_with(kUpdate)) {
      mac.resize(mac.size() - kUpdate.size());
    }
    if (connected_.contains(mac)) {
      taken_.push_back({mac, file_text(entry.path()).value_or("")});
      std::error_code ignored;
      fs::remove(entry.path(), ignored);
    }
  }
}

std::vector<Delivery> Controller::deliveries() {
  // Which of several APs was served first is the scheduler's chance; the order within an AP is not.
  std::stable_sort(taken_.begin(), taken_.end(),
                   [](const Delivery& a, const Delivery& b) { return a.mac < b.mac; });
  return std::exchange(taken_, {});
}

}  // namespace lab
