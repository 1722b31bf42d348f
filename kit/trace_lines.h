#pragma once

#include <string>
#include <vector>

namespace kit {

/// A line of the program's trace, without date, process id and source line.
struct TraceLine {
  std::string operation;
  std::string message;  // may be several lines
};

std::vector<TraceLine> trace_lines(const std::string& text);

}  // namespace kit
