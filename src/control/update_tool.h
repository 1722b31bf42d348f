#pragma once

#include <string>

/// Ends (SIGTERM) each running update tool, that is a process named exactly "wum", whose command
/// line contains `pattern` and `extra_pattern` (empty: none). The line is its words with a blank after
/// each, up to a line feed or 254 characters. Letters have to match in case, so an AP's MAC has to be
/// given as the tool was given it. Each tool is traced, under the key `pattern`, and written to the
/// system log; nobody waits for its end.
void kill_update_tool(const std::string& pattern, const std::string& extra_pattern);
