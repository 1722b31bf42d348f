#pragma once

#include "show/site.h"

namespace show {

/// Stands in the place of the command of its own by which an AP is told to lift all its blocks.
inline constexpr const char* kReleaseAllFirst = "(first, as a command of its own: release all)";

/// What the rules would decide if the AP reported now what it reported last, from which numbers, and
/// what they make of each of its stations. Throws Unavailable.
View why_view(Site& site, const ApState& state);

}  // namespace show
