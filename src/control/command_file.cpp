#include "control/command_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <functional>
#include <system_error>

#include "platform/files.h"
#include "trace/trace_log.h"
#include "values/decimal.h"
#include "values/paths.h"

namespace {

constexpr std::int64_t kAbandonedAfter = 60;  // seconds; writing takes milliseconds

/// How an attempt to write a command ended: an error number of the system, 0 when the command is in
/// its slot, EEXIST while another command is there.
using Ending = int;

/// The path at which this process writes. The controller ignores it: only names of commands begin with
/// the prefix.
std::string own_path() {
  return M("%s/.%d", paths::kCommands, static_cast<int>(getpid()));
}

/// Writes `text` to a file of this process and moves it into place with `put`, which sets errno.
Ending write_command(const std::string& text, const std::function<int(const char* from)>& put) {
  const std::string path = own_path();
  unlink(path.c_str());  // of a process of the same number that died
  const int file = open(path.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, 0666);
  if (file < 0) {
    return errno;
  }
  const ssize_t written = write(file, text.data(), text.size());
  const bool is_whole = written == static_cast<ssize_t>(text.size());
  Ending ending = is_whole ? 0 : written < 0 ? errno : ENOSPC;
  if (close(file) != 0 && ending == 0) {
    ending = errno;
  }
  if (ending == 0 && put(path.c_str()) != 0) {
    ending = errno;
  }
  unlink(path.c_str());
  return ending;
}

Ending take_slot(const std::string& slot, const std::string& text) {
  struct stat info {};
  if (lstat(slot.c_str(), &info) == 0) {
    return S_ISDIR(info.st_mode) ? EISDIR : EEXIST;
  }
  return write_command(text, [&](const char* from) { return link(from, slot.c_str()); });
}

void report_lost(const Ap& ap, const std::string& slot, Ending ending, Remedy remedy) {
  const std::string reason = ending == EEXIST
                                 ? M("the slot stayed taken for %d seconds", kSlotPatience)
                                 : std::string(std::strerror(ending));
  report_loss({"ap_conf_set", ap.mac}, Loss::command, remedy,
              "command lost: " + slot + ": " + reason);
}

/// Queues what `text` returns, which is called for each attempt. Whether it has been queued.
bool queue(Ap& ap, CommandSlot slot, Remedy remedy, const std::function<std::string()>& text) {
  const std::string path = command_slot(ap.mac, slot);
  Ending ending = EEXIST;
  for (int attempt = 0; attempt < kSlotPatience && ending == EEXIST; ++attempt) {
    ending = take_slot(path, text());
    if (ending == EEXIST) {
      ap.give_connection_back();
      sleep(1);
    }
  }
  if (ending != 0) {
    report_lost(ap, path, ending, remedy);
  }
  return ending == 0;
}

}  // namespace

std::string command_slot(const std::string& mac, CommandSlot slot) {
  return M("%s/%s%s%s", paths::kCommands, kSlotPrefix, mac.c_str(),
           slot == CommandSlot::download ? kDownloadEnding : "");
}

void ap_conf_set(Ap& ap, const std::string& content, CommandSlot slot, Remedy remedy) {
  std::string text = "[command]\n" + content;
  if (queue(ap, slot, remedy, [&] { return text; })) {
    ap_debug_log({"ap_conf_set", ap.mac}, "%s", text.c_str());
  }
}

void command_reboot(const Ap& ap) {
  const std::string slot = command_slot(ap.mac, CommandSlot::ordinary);
  const Ending ending =
      write_command("[command]\ntype=" + number_of(CommandType::reboot) + "\n",
                    [&](const char* from) { return std::rename(from, slot.c_str()); });
  if (ending != 0) {
    report_lost(ap, slot, ending, Remedy::none);
  }
}

void command_release_all(Ap& ap) {
  queue(ap, CommandSlot::ordinary, Remedy::none, [] {
    return "[command]\ntype=" + number_of(CommandType::release_all) +
           "\ntime=" + std::to_string(std::time(nullptr)) + "\n";
  });
}

int try_command_file() {
  const std::string link_path = own_path() + ".link";
  const Ending ending =
      write_command("[command]\n", [&](const char* from) { return link(from, link_path.c_str()); });
  unlink(link_path.c_str());
  return ending;
}

void remove_abandoned_commands() {
  std::error_code failed;
  std::filesystem::directory_iterator entry(paths::kCommands, failed);
  for (; !failed && entry != end(entry); entry.increment(failed)) {
    const std::string name = entry->path().filename();
    const auto process = static_cast<pid_t>(name.starts_with('.') ? decimal(name.substr(1)) : 0);
    if (process > 0 && kill(process, 0) != 0 && errno == ESRCH &&
        my_file_create_time(entry->path()) < std::time(nullptr) - kAbandonedAfter) {
      unlink(entry->path().c_str());
    }
  }
}
