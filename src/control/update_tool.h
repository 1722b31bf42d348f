#pragma once

#include <optional>
#include <string>

/// Ends (SIGTERM) each running update tool, that is a process named exactly "wum", whose command
/// line holds `pattern` and, if given, `extra_pattern`. The line is its words with a blank after
/// each, of which 254 characters count and none after a line feed. Patterns are compared as they
/// are, so an AP's MAC has to be given as the tool was given it. Each tool ended is traced, under
/// the key `pattern`, and written to the system log; its end is not waited for.
void kill_update_tool(const std::string& pattern, const std::optional<std::string>& extra_pattern);
