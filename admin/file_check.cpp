#include "file_check.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <ctime>
#include <filesystem>

#include "entry/lock_file.h"
#include "platform/files.h"
#include "platform/text.h"
#include "settings_check.h"
#include "values/paths.h"

namespace {

/// A controller fetches a command within seconds; hooks wait 15 seconds for it to do so.
constexpr std::int64_t kStuckCommand = 60;

/// So many names are told; the rest is counted.
constexpr std::size_t kNamesTold = 3;

struct NeededDirectory {
  const char* path;
  Severity severity;
  const char* consequence;
};

constexpr NeededDirectory kDirectories[] = {
    {paths::kCommands, Severity::problem, "no AP can be told anything"},
    {paths::kLocks, Severity::warning, "two reports of one AP may be processed at the same time"},
    {paths::kCapabilities, Severity::warning, "capability files have no place"},
    {paths::kSupport, Severity::warning, "no AP counts as able to download firmware"},
    {paths::kRadar, Severity::warning, "the switch that keeps reports has no place"},
    {paths::kReports, Severity::warning, "the controller's uploads have no place"},
    {paths::kDownloads, Severity::warning, "no firmware can be offered for download"},
    {paths::kNotices, Severity::warning, "mobile users are not told that an AP is back"},
    {paths::kLogs, Severity::warning, "calls to the controller are not recorded"},
    {paths::kSyncFiles, Severity::warning, "configurations for APs have no place"}};

struct NeededProgram {
  const char* path;
  Severity severity;
  const char* consequence;
  const char* advice;
  bool (*needed)();
};

bool always() {
  return true;
}

constexpr const char* kReinstall = "Install the package ap-run again.";

constexpr NeededProgram kPrograms[] = {
    {"/usr/sbin/ap-up", Severity::problem, "joins of APs go unnoticed", kReinstall, always},
    {"/usr/sbin/ap-down", Severity::problem, "leaves of APs go unnoticed", kReinstall, always},
    {"/usr/sbin/ap-history", Severity::problem, "history events are not traced", kReinstall,
     always},
    {"/usr/sbin/ap-command", Severity::problem, "reports and commands come to nothing", kReinstall,
     always},
    {"/usr/sbin/wum", Severity::warning, "APs that cannot download get no firmware",
     "Install the controller's update tool.", always},
    {"/usr/sbin/send_logmsg", Severity::warning,
     "the connection log is not forwarded to the log service",
     "Install the appliance's log service.", always},
    {"/usr/sbin/mobile_pushmsg", Severity::warning, "mobile users get no messages",
     "Install the appliance's push service, unless AP_USER.app_login stays empty.", always},
    {"/sbin/iptables", Severity::warning, "APs cannot download firmware through the firewall",
     "Install the package iptables.", always},
    {"/bin/kill", Severity::warning, "update tools that are in the way are not stopped",
     "Install the package procps.", always},
    {paths::kSendmail, Severity::warning, "notice mails are lost, although setting 92 is on",
     "Install a mail server, such as the package postfix.", notices_are_mailed}};

struct Entry {
  std::string name;
  std::int64_t age;  // seconds since the last change
  std::uint64_t size;
};

/// What is in a directory and `is_wanted`, the oldest first; nothing when there is no such directory.
std::vector<Entry> entries(const std::string& directory, bool (*is_wanted)(const Entry&)) {
  std::vector<Entry> all;
  std::error_code failed;
  for (const auto& file : std::filesystem::directory_iterator(directory, failed)) {
    struct stat info {};
    if (lstat(file.path().c_str(), &info) == 0) {
      all.push_back({file.path().filename(), std::time(nullptr) - info.st_mtim.tv_sec,
                     static_cast<std::uint64_t>(info.st_size)});
    }
  }
  std::erase_if(all, [&](const Entry& entry) { return !is_wanted(entry); });
  std::sort(all.begin(), all.end(), [](const Entry& a, const Entry& b) { return a.age > b.age; });
  return all;
}

bool any(const Entry& /*entry*/) {
  return true;
}

/// "3 files, the oldest 2 hours old: a, b, c and 4 more"
std::string told(const std::vector<Entry>& files) {
  constexpr std::int64_t kMinute = 60;
  constexpr std::int64_t kHour = 60 * kMinute;
  const std::int64_t age = files.front().age;
  std::string text = M("%zu file%s, the oldest ", files.size(), files.size() == 1 ? "" : "s");
  text += age >= 2 * kHour     ? M("%lld hours old: ", static_cast<long long>(age / kHour))
          : age >= 2 * kMinute ? M("%lld minutes old: ", static_cast<long long>(age / kMinute))
                               : M("%lld seconds old: ", static_cast<long long>(age));
  for (std::size_t i = 0; i < std::min(files.size(), kNamesTold); ++i) {
    text += (i == 0 ? "" : ", ") + files[i].name;
  }
  return files.size() > kNamesTold ? text + M(" and %zu more", files.size() - kNamesTold) : text;
}

std::string total_size(const std::vector<Entry>& files) {
  constexpr std::uint64_t kKibi = 1024;
  std::uint64_t sum = 0;
  for (const Entry& file : files) {
    sum += file.size;
  }
  return M("%llu KiB", static_cast<unsigned long long>((sum + kKibi - 1) / kKibi));
}

}  // namespace

Findings check_directories() {
  Findings findings;
  for (const NeededDirectory& directory : kDirectories) {
    const char* name = "directory-missing";
    const char* what = "does not exist";
    const char* advice = "Run systemd-tmpfiles --create ap-run.conf.";
    if (isDirectory(directory.path)) {
      if (access(directory.path, W_OK | X_OK) == 0) {
        continue;
      }
      name = "directory-read-only";
      what = "cannot be written to";
      advice = "Mend its permissions, or mount its file system writable.";
    } else if (access(directory.path, F_OK) == 0) {
      what = "is no directory";
      advice = "Move what is there away, then run systemd-tmpfiles --create ap-run.conf.";
    }
    findings.push_back({directory.severity, name,
                        M("%s %s: %s.", directory.path, what, directory.consequence), advice});
  }
  return findings;
}

Findings check_programs() {
  Findings findings;
  for (const NeededProgram& program : kPrograms) {
    if (!program.needed() || (isRegularFile(program.path) && access(program.path, X_OK) == 0)) {
      continue;
    }
    const bool there = isRegularFile(program.path);
    findings.push_back({program.severity, there ? "program-not-executable" : "program-missing",
                        M("%s %s: %s.", program.path,
                          there ? "is not executable" : "does not exist", program.consequence),
                        there ? M("Run chmod 755 %s.", program.path) : program.advice});
  }
  return findings;
}

Findings check_locks() {
  const std::vector<Entry> stale =
      entries(paths::kLocks, [](const Entry& lock) { return lock.age >= kStaleLockAge; });
  if (stale.empty()) {
    return {};
  }
  return {{Severity::warning, "lock-stale",
           "Locks were left behind by processes that died (" + told(stale) + ").",
           "Nothing waits for them any more: the AP's next report or join clears its lock. An AP "
           "whose lock stays has not reported since; remove the file if the AP is gone for good. "
           "Look for what killed the processes: the system log, lack of memory, a restart."}};
}

Findings check_commands() {
  Findings findings;
  const std::vector<Entry> stuck = entries(paths::kCommands, [](const Entry& command) {
    return command.age > kStuckCommand && command.name.starts_with("[CMD]=");
  });
  if (!stuck.empty()) {
    findings.push_back(
        {Severity::problem, "command-stuck",
         "The controller does not fetch the commands for its APs (" + told(stuck) +
             "). Newer commands wait 15 seconds for a slot that is taken, then they are lost.",
         M("See that the controller runs and reads %s. Remove commands for APs that are gone.",
           paths::kCommands)});
  }
  const std::vector<Entry> unfinished = entries(paths::kCommands, [](const Entry& command) {
    return command.age > kStuckCommand && command.name.starts_with('.');
  });
  if (!unfinished.empty()) {
    findings.push_back({Severity::warning, "command-unfinished",
                        "Commands were left half written by processes that died, or the disk "
                        "was full (" +
                            told(unfinished) + ").",
                        M("Remove these files from %s.", paths::kCommands)});
  }
  return findings;
}

Findings check_switches() {
  Findings findings;
  if (isDirectory(paths::kTraces)) {
    const std::vector<Entry> traces = entries(paths::kTraces, any);
    const std::string files =
        traces.empty() ? "no AP has a file" : told(traces) + ", together " + total_size(traces);
    findings.push_back({Severity::warning, "trace-on",
                        "Tracing is on: every line of every AP goes to the system log, and those "
                        "of the APs named to files that grow (" +
                            files + ").",
                        M("Remove %s when you have seen enough.", paths::kTraces)});
  }
  struct Keeping {
    const char* file;
    const char* kept_in;
    const char* name;
    const char* what;
  };
  for (const Keeping& keeping :
       {Keeping{paths::kKeepReports, paths::kReports, "reports-kept", "Reports"},
        Keeping{paths::kKeepCapabilities, paths::kCapabilities, "profiles-kept",
                "Capability files"}}) {
    if (access(keeping.file, F_OK) == 0) {
      const std::vector<Entry> kept = entries(keeping.kept_in, any);
      findings.push_back(
          {Severity::warning, keeping.name,
           M("%s are not removed after use, because %s exists; %s holds %zu files, "
             "together %s.",
             keeping.what, keeping.file, keeping.kept_in, kept.size(), total_size(kept).c_str()),
           M("Remove %s when you have seen enough.", keeping.file)});
    }
  }
  return findings;
}
