#include "file_check.h"

#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <algorithm>
#include <cstring>
#include <ctime>
#include <filesystem>

#include "control/command_file.h"
#include "entry/lock_file.h"
#include "platform/files.h"
#include "platform/firewall.h"
#include "platform/text.h"
#include "settings_check.h"
#include "values/paths.h"

namespace {

/// A controller fetches a command within seconds; hooks wait 15 seconds for it to do so.
constexpr std::int64_t kStuckCommand = 60;

/// Below this, the file system of the commands counts as nearly full: room for the commands of 2,000
/// APs, a block each.
constexpr std::uint64_t kLeastFreeKibi = 8192;
constexpr std::uint64_t kLeastFreeInodes = 2000;

constexpr std::uint64_t kKibi = 1024;

/// At most so many names are listed; the rest is counted.
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
  const char* source;  // what installs a helper; null for the program's own names
};

constexpr const char* kIptables = "/sbin/iptables";

constexpr NeededProgram kPrograms[] = {
    {"/usr/sbin/ap-up", Severity::problem, "joins of APs go unnoticed", nullptr},
    {"/usr/sbin/ap-down", Severity::problem, "leaves of APs go unnoticed", nullptr},
    {"/usr/sbin/ap-history", Severity::problem, "history events are not traced", nullptr},
    {"/usr/sbin/ap-command", Severity::problem, "reports and commands come to nothing", nullptr},
    {"/usr/sbin/wum", Severity::warning, "APs that cannot download get no firmware",
     "the controller's update tool"},
    {"/usr/sbin/send_logmsg", Severity::warning,
     "the connection log is not forwarded to the log service", "the appliance's log service"},
    {"/usr/sbin/mobile_pushmsg", Severity::warning, "mobile users get no messages",
     "the appliance's push service"},
    {kIptables, Severity::warning, "APs cannot download firmware through the firewall",
     "the package iptables"},
    {"/bin/kill", Severity::warning, "update tools that are in the way are not stopped",
     "the package procps"},
    {paths::kSendmail, Severity::warning, "notice mails are lost, although setting 92 is on",
     "a mail server, such as the package postfix"}};

bool is_executable(const char* path) {
  return isRegularFile(path) && access(path, X_OK) == 0;
}

std::string_view name_of(std::string_view path) {
  return path.substr(path.rfind('/') + 1);
}

bool is_declared_absent(const char* path) {
  return declared_absent().contains(std::string(name_of(path)));
}

bool is_needed(const NeededProgram& program) {
  return (program.source == nullptr || !is_declared_absent(program.path)) &&
         (program.path != paths::kSendmail || notices_are_mailed());
}

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

/// "7 files, the oldest 2 hours old: a, b, c and 4 more"; empty without a file.
std::string told(const std::vector<Entry>& files) {
  if (files.empty()) {
    return "";
  }
  constexpr std::uint64_t kMinute = 60;
  constexpr std::uint64_t kHour = 60 * kMinute;
  const auto age = static_cast<std::uint64_t>(std::max<std::int64_t>(files.front().age, 0));
  std::string text = counted(files.size(), "file") + (files.size() > 1 ? ", the oldest " : ", ") +
                     (age >= 2 * kHour     ? counted(age / kHour, "hour")
                      : age >= 2 * kMinute ? counted(age / kMinute, "minute")
                                           : counted(age, "second")) +
                     " old: ";
  for (std::size_t i = 0; i < std::min(files.size(), kNamesTold); ++i) {
    text += (i == 0 ? "" : ", ") + files[i].name;
  }
  return files.size() > kNamesTold ? text + M(" and %zu more", files.size() - kNamesTold) : text;
}

std::string together(const std::vector<Entry>& files) {
  std::uint64_t sum = 0;
  for (const Entry& file : files) {
    sum += file.size;
  }
  return M(", together %llu KiB", static_cast<unsigned long long>((sum + kKibi - 1) / kKibi));
}

}  // namespace

Findings check_directories() {
  Findings findings;
  for (const NeededDirectory& directory : kDirectories) {
    const bool is_there = isDirectory(directory.path);
    const bool is_taken = !is_there && access(directory.path, F_OK) == 0;
    if (is_there && access(directory.path, W_OK | X_OK) == 0) {
      continue;
    }
    findings.push_back({directory.severity, is_there ? "directory-read-only" : "directory-missing",
                        M("%s %s: %s.", directory.path,
                          is_there   ? "cannot be written to"
                          : is_taken ? "is no directory"
                                     : "does not exist",
                          directory.consequence),
                        is_there
                            ? "Mend its permissions, or mount its file system writable."
                            : std::string(is_taken ? "Move what is there away, then run" : "Run") +
                                  " systemd-tmpfiles --create ap-run.conf."});
  }
  return findings;
}

Findings check_space() {
  if (access(paths::kCommands, W_OK | X_OK) != 0) {
    return {};  // reported by check_directories
  }
  const int error = try_command_file();
  struct statvfs space {};
  const bool is_known = statvfs(paths::kCommands, &space) == 0;
  const std::uint64_t free_kibi = space.f_bavail * space.f_frsize / kKibi;
  const bool counts_inodes = space.f_files > 0;
  const bool is_low =
      free_kibi < kLeastFreeKibi || (counts_inodes && space.f_favail < kLeastFreeInodes);
  return amiss(
      {{error != 0,
        {Severity::problem, "command-refused",
         M("A file in %s could not be written and linked to a second name (%s): no AP can be told "
           "anything.",
           paths::kCommands, std::strerror(error)),
         "If it is full, remove files from its file system (df, df -i). If it has no hard links, put "
         "it on one that has, such as ext4."}},
       {error == 0 && is_known && is_low,
        {Severity::warning, "disk-low",
         M("The file system of %s has %llu KiB free and %s: commands for APs will be lost when it "
           "is full.",
           paths::kCommands, static_cast<unsigned long long>(free_kibi),
           counts_inodes ? counted(space.f_favail, "inode").c_str() : "any number of inodes"),
         M("Remove files from it (df, df -i); %llu KiB and %llu inodes are enough.",
           static_cast<unsigned long long>(kLeastFreeKibi),
           static_cast<unsigned long long>(kLeastFreeInodes))}}});
}

Findings check_programs() {
  Findings findings;
  for (const std::string& name : declared_absent()) {
    const bool is_known =
        std::any_of(std::begin(kPrograms), std::end(kPrograms), [&](const NeededProgram& program) {
          return program.source != nullptr && name == name_of(program.path);
        });
    add(findings, amiss({{!is_known,
                          {Severity::warning, "setting-unknown",
                           "[check] absent names " + name + ", which is no helper program.",
                           M("Correct it in %s; ap-run.ini(5) lists the helper programs.",
                             paths::kSettings)}}}));
  }
  for (const NeededProgram& program : kPrograms) {
    if (is_executable(program.path) || !is_needed(program)) {
      continue;
    }
    const bool is_there = isRegularFile(program.path);
    const std::string advice =
        is_there ? M("Run chmod 755 %s.", program.path)
        : program.source == nullptr
            ? "Install the package ap-run again."
            : M("Install %s. If this appliance lacks it by design, name it in "
                "%s, section [check], absent.",
                program.source, paths::kSettings);
    findings.push_back({program.severity, is_there ? "program-not-executable" : "program-missing",
                        M("%s %s: %s.", program.path,
                          is_there ? "is not executable" : "does not exist", program.consequence),
                        advice});
  }
  return findings;
}

Findings check_firewall() {
  if (!is_executable(kIptables) || is_declared_absent(kIptables) || geteuid() != 0) {
    return {};
  }
  Findings findings;
  for (const char* chain : {"ap_update_in", "ap_update_out"}) {
    const int status = my_iptables(4, "ap-check=> %s -t filter -n -L %s", kIptables, chain);
    add(findings,
        amiss({{status != 0,
                {Severity::warning, "firewall-chain-missing",
                 M("%s does not list the chain %s (exit status %d): APs cannot download firmware "
                   "through the firewall.",
                   kIptables, chain, status),
                 M("Run iptables -N %s, and have the firewall jump there from %s.", chain,
                   std::string_view(chain).ends_with("in") ? "INPUT" : "OUTPUT")}}}));
  }
  return findings;
}

Findings check_waiting_files() {
  const std::vector<Entry> stale =
      entries(paths::kLocks, [](const Entry& lock) { return lock.age >= kStaleLockAge; });
  const std::vector<Entry> stuck = entries(paths::kCommands, [](const Entry& command) {
    return command.age > kStuckCommand && command.name.starts_with("[CMD]=");
  });
  const std::vector<Entry> unfinished = entries(paths::kCommands, [](const Entry& command) {
    return command.age > kStuckCommand && command.name.starts_with('.');
  });
  return amiss(
      {{!stale.empty(),
        {Severity::warning, "lock-stale",
         "Locks were left behind by processes that died (" + told(stale) + ").",
         "Nothing waits for them any more: the AP's next report or join clears its lock. An AP "
         "whose lock stays has not reported since; remove the file if the AP is gone for good. "
         "Look for what killed the processes: the system log, lack of memory, a restart."}},
       {!stuck.empty(),
        {Severity::problem, "command-stuck",
         "The controller does not fetch the commands for its APs (" + told(stuck) +
             "). Newer commands wait 15 seconds for a slot that is taken, then they are lost.",
         M("See that the controller runs and reads %s. Remove commands for APs that are gone.",
           paths::kCommands)}},
       {!unfinished.empty(),
        {Severity::warning, "command-unfinished",
         "Commands were left half written by processes that died (" + told(unfinished) + ").",
         M("Remove these files from %s.", paths::kCommands)}}});
}

Findings check_switches() {
  const std::vector<Entry> traces = entries(paths::kTraces, any);
  const auto keeps = [](const char* file, const char* folder, const char* name, const char* what) {
    const std::vector<Entry> kept = entries(folder, any);
    return Check{access(file, F_OK) == 0,
                 {Severity::warning, name,
                  M("%s are not removed after use, because %s exists; %s holds %s%s.", what, file,
                    folder, counted(kept.size(), "file").c_str(), together(kept).c_str()),
                  M("Remove %s when you have seen enough.", file)}};
  };
  return amiss(
      {{isDirectory(paths::kTraces),
        {Severity::warning, "trace-on",
         "Tracing is on: every line of every AP goes to the system log, and those of the APs named "
         "to files that grow (" +
             (traces.empty() ? "no AP has a file" : told(traces) + together(traces)) + ").",
         M("Remove %s when you have seen enough.", paths::kTraces)}},
       keeps(paths::kKeepReports, paths::kReports, "reports-kept", "Reports"),
       keeps(paths::kKeepCapabilities, paths::kCapabilities, "profiles-kept", "Capability files")});
}
