#pragma once

#include <string>

/// Sends `line` to the system log. A leading "<n>" is taken off and is the priority number
/// (facility included); without one the line goes out at priority info. The plain Debian platform
/// shows control bytes as "\x0A".
void my_syslog(const std::string& line);

/// What an event can lose.
enum class Loss {
  event,       // all of it: the database cannot be reached
  statement,   // a row: the server has refused a statement
  command,     // what the AP was to be told
  firewall,    // an AP's way through the firewall
  helper,      // what a helper program was to do
  file,        // a small file: a lock, a marker
  upload,      // a report or capability file
  controller,  // what the controller was to be told
  settings,    // every setting: the defaults hold
  count
};

/// Whether the AP's next report makes a loss good.
enum class Remedy { none, next_report };

/// Tells the administrator that an event has lost something: `text` says what, of which AP, and why.
/// On the plain Debian platform a line in the system log, under the name of the program, of priority
/// err, or warning for what the next report makes good. Of each kind a process tells the first.
void my_report_loss(Loss loss, Remedy remedy, const std::string& text);
