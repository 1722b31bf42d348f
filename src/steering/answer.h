#pragma once

#include <string>

#include "steering/block_table.h"
#include "steering/findings.h"

// The command that answers a report: the steering rules one after the other, as far as the settings
// turn them on. `filter_mode` is the mode of the MAC filter.

/// Lifts the blocks that are no longer needed and returns their "release" lines. Does nothing without a
/// database, or where stations are not steered.
std::string release_lines(Ap& ap, int filter_mode, Findings& found);

/// The text of the AP's command, from `releases` to the MAC filter. When all blocks must go, a separate
/// command tells the AP so, unless quiet.
std::string answer_lines(Ap& ap, int filter_mode, const std::string& releases, Quiet quiet,
                         Findings& found);
