#pragma once

#include <string>

/// Sends `line` to the system log. A leading "<n>" is removed and gives the priority number (facility
/// included); without one the priority is info. The plain Debian platform shows control bytes as
/// "\x0A".
void my_syslog(const std::string& line);

/// What an event can lose.
enum class Loss {
  event,       // all of it: the database cannot be reached
  statement,   // a row: the server has refused a statement
  command,     // a command to the AP
  firewall,    // an AP's way through the firewall
  helper,      // what a helper program should have done
  file,        // a small file: a lock, a marker
  upload,      // a report or capability file
  controller,  // a message to the controller
  settings,    // every setting: the defaults hold
  count
};

/// What makes up for a loss.
enum class Remedy { none, next_report };

/// Reports to the administrator what an event has lost: `text` says what, of which AP, and why. A process
/// reports the first loss of each kind. On the plain Debian platform a line in the system log, under the
/// program's name, of priority err, or warning when the next report makes up for it.
void my_report_loss(Loss loss, Remedy remedy, const std::string& text);
