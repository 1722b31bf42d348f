#pragma once

#include <string>
#include <vector>

#include "building/agreement.h"
#include "building/play.h"

namespace lab {

/// The page about a play: `page_template` with the play's data in the place of its mark. One file,
/// which needs nothing else to be read. `unsteered` is the same building without load balancing, or
/// null when that was not played.
std::string page_of(const Play& play, const Play* unsteered,
                    const std::vector<Agreement>& agreements, const std::string& page_template);

/// The events of a play as lines, without anything that was measured in real time.
std::string log_of(const World& world);

}  // namespace lab
