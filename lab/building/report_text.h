#pragma once

#include <string>

#include "building/world.h"

namespace lab {

/// The report of an AP, as it uploads it. SSIDs are written as they are, byte for byte, with two
/// exceptions that every writer of such files has to make: a line end or NUL becomes "?", and what
/// the syntax would take for a comment or trim is put in double quotes.
std::string report_text(const World& world, const AccessPoint& ap, const Observation& seen);

/// The capability file that an AP delivers when it joins.
std::string capability_text(const World& world, const AccessPoint& ap);

}  // namespace lab
