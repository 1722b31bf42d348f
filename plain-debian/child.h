#pragma once

#include <chrono>
#include <string>
#include <vector>

/// How long to wait for a child.
using ChildLimit = std::chrono::milliseconds;

/// No limit: waits until the child ends.
inline constexpr ChildLimit kNoLimit{-1};

/// Collects outstanding database answers, then runs the program `words[0]` (a path) with the arguments
/// `words`: in a session of its own, with default signals, `input` as its standard input (/dev/null
/// when empty), /dev/null as its other two standard descriptors and no further descriptor. Waits for it,
/// at most for `limit`, then kills it and its process group. Returns its exit status, or -1 when it
/// could not be started, was killed or ran too long.
int run_child(const std::vector<std::string>& words, const std::string& input, ChildLimit limit);
