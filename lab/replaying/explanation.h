#pragma once

#include <map>
#include <string>
#include <vector>

#include "building/command_text.h"
#include "building/text.h"
#include "kit/trace_lines.h"

// What the program did with one report and why, in words: read from the report itself, from the
// program's trace and from the commands that the AP would have got.

namespace lab {

/// The sections of an INI file as the program reads it, names in lower case. Empty when it refuses the
/// text: `complaint` says why.
using Sections = std::map<std::string, std::map<std::string, std::string>>;
Sections sections_of(const std::string& text, std::string& complaint);

/// The explanation, a line each. `names` tells what to call the AP with a serial number.
Words explain(const Sections& report, const std::vector<kit::TraceLine>& trace,
              const std::vector<Command>& commands, const std::map<int, std::string>& names);

}  // namespace lab
