#pragma once

#include <string>

#include "steering/block_table.h"
#include "steering/findings.h"

// What an AP is told when its report has been stored: the rules one after the other, each as far as
// the settings ask for it.

/// Lifts the blocks that the report has made needless: their "release" lines. Nothing without a
/// database, or where stations are not steered.
std::string release_lines(Ap& ap, int filter_mode, Findings& found);

/// The text of the AP's command, from `releases` to the MAC filter. Where all blocks must go, the AP
/// is told so by a command of its own, unless quiet.
std::string answer_lines(Ap& ap, int filter_mode, const std::string& releases, Quiet quiet,
                         Findings& found);
