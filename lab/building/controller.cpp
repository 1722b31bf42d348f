#include "building/controller.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/inotify.h>
#include <unistd.h>

extern "C" {  // the header lacks it
#include <sys/pidfd.h>
}

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include "kit/child.h"
#include "kit/files.h"
#include "values/paths.h"

namespace fs = std::filesystem;

namespace lab {

namespace {

constexpr std::string_view kPrefix = "[CMD]=";
constexpr std::string_view kUpdate = ".update";
constexpr const char* kSaid = "/var/log/ap-run/hooks.log";  // what a hook prints, if ever

}  // namespace

struct Controller::Running {
  Hook hook;
  kit::Child child;
  int ended;  // readable when the process has ended
};

Controller::Controller(int parallel)
    : parallel_(static_cast<std::size_t>(parallel)),
      watch_(inotify_init1(IN_CLOEXEC | IN_NONBLOCK)),
      said_(open(kSaid, O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0644)) {
  // A command appears by a link or a renaming, so it is whole when it can be seen.
  if (watch_ < 0 || inotify_add_watch(watch_, paths::kCommands, IN_CREATE | IN_MOVED_TO) < 0) {
    std::perror(paths::kCommands);
    std::exit(1);
  }
}

Controller::~Controller() {
  close(watch_);
  close(said_);
}

Controller::Running Controller::start(const Hook& hook) const {
  kit::Child child(kit::Program{"/usr/sbin/" + hook.words.front(), hook.words, {}, -1, said_});
  const int ended = pidfd_open(child.id(), 0);
  return {hook, std::move(child), ended};
}

void Controller::finish(Running& running, int minute) {
  const kit::Usage usage = running.child.finish();
  close(running.ended);
  const Words& words = running.hook.words;
  const bool typed = words.front() == "ap-command" && words.size() > 1;
  runs_.push_back({words.front() + (typed ? " " + words[1] : ""), running.hook.ap, minute,
                   usage.wall_ms, usage.processor_ms, static_cast<int>(usage.peak_kib)});
  if (usage.status != 0) {
    std::fprintf(stderr, "%s ended with %d\n", runs_.back().name.c_str(), usage.status);
  }
}

void Controller::record(const Hook& hook, int minute) {
  if (recorded_.empty()) {
    return;
  }
  const Words& words = hook.words;
  std::string place;
  if (words.front() == "ap-up") {
    place = std::string(paths::kCapabilities) + "/" + words[2];
  } else if (words.size() > 2 && words[2].starts_with('/')) {
    place = words[2];
  }
  const std::string name = recorded_ + format("/%05d", ++events_);
  std::string text = format("%d %d %d\n%s\n", minute, waves_, hook.ap, place.c_str());
  for (const std::string& word : words) {
    text += word + "\n";
  }
  kit::write_file(name + ".event", text);
  if (!place.empty()) {
    kit::write_file(name + ".input", kit::content(place));
  }
}

void Controller::run(const std::vector<Hook>& hooks, int minute) {
  ++waves_;
  for (const Hook& hook : hooks) {
    record(hook, minute);
  }
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
      taken_.push_back({mac, kit::content(entry.path())});
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
