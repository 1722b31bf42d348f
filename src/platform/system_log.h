#pragma once

#include <string>

/// Sends `line` to the system log. A leading "<n>" is taken off and is the priority number
/// (facility included); without one the line goes out at priority info.
void my_syslog(const std::string& line);
