#pragma once

#include <string>

/// Tells the kernel of a station: writes its MAC in lower case and a line feed, in one write, to
/// /proc/net/xt_APClient. Where there is no such file nothing happens. A text that is no MAC is not
/// announced; a trace line under `key`, the AP's MAC, says so.
void announce_to_kernel(const std::string& station, const std::string& key);
