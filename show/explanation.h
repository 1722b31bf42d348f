#pragma once

#include <map>
#include <string>
#include <vector>

#include "steering/findings.h"

namespace show {

/// What to call the AP with a serial number; "AP_<number>" for one that is missing.
using Names = std::map<int, std::string>;

/// Says in sentences, a line each, what the rules have decided for an AP and
/// from which numbers, in the order in which they ran.
std::vector<std::string> explain(const Findings& found, const Names& names);

}  // namespace show
