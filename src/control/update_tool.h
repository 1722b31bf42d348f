#pragma once

#include <string>

/// Ends (SIGTERM) each running update tool, that is a process named exactly "wum", whose command
/// line holds `pattern` and `extra_pattern` (empty: none). The line is its words with a blank after
/// each, of which 254 characters count and none after a line feed. Patterns are compared as they
/// are, so an AP's MAC has to be given as the tool was given it. Each tool ended is traced, under
/// the key `pattern`, and written to the system log; its end is not waited for.
void kill_update_tool(const std::string& pattern, const std::string& extra_pattern);
