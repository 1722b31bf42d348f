#pragma once

// The paths that more than one file uses: the program, ap-check and the lab. A path in a command line
// is written there, to be found with grep.

namespace paths {

/// Command files for APs, which the controller fetches.
inline constexpr const char* kCommands = "/database/ap/command";
/// A file for each AP whose trace is kept. The directory itself turns tracing on.
inline constexpr const char* kTraces = "/database/ap/debug";
/// What each AP can do, as it wrote it, and the switch that keeps these files.
inline constexpr const char* kCapabilities = "/database/ap/info";
inline constexpr const char* kKeepCapabilities = "/database/ap/info/debug";
/// A lock for each AP whose report is being processed.
inline constexpr const char* kLocks = "/database/ap/lock";
/// The directory of the switch that keeps reports, and the switch.
inline constexpr const char* kRadar = "/database/ap/radar";
inline constexpr const char* kKeepReports = "/database/ap/radar/debug";
/// Where the controller puts reports.
inline constexpr const char* kReports = "/database/ap/reports";
/// A marker for each AP that can download firmware.
inline constexpr const char* kSupport = "/database/ap/support";
/// What APs may download.
inline constexpr const char* kDownloads = "/var/ap_update";
/// A marker for each AP whose leave was announced to mobile users.
inline constexpr const char* kNotices = "/var/log/notice";
/// Configurations for APs.
inline constexpr const char* kSyncFiles = "/var/tmp/sync";
/// The list of the MAC filter, written by the firewall configuration.
inline constexpr const char* kMacFilterList = "/etc/sysconfig/.firewall/wireless_mac_filter.conf";

// Of the plain Debian platform:

inline constexpr const char* kSettings = "/etc/ap-run/platform.ini";
inline constexpr const char* kDatabaseOptions = "/etc/ap-run/database.cnf";
inline constexpr const char* kSendmail = "/usr/sbin/sendmail";
inline constexpr const char* kLogs = "/var/log/ap-run";
inline constexpr const char* kControllerLog = "/var/log/ap-run/controller.log";

}  // namespace paths
