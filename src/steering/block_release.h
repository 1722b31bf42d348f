#pragma once

#include <string>

#include "db/ap.h"
#include "steering/findings.h"

/// Lifts the blocks of the AP whose stations no managed AP serves that this AP hears on the same SSID.
/// Returns their "release" lines. A block whose profile has no SSID stays. `found.blocks` gets every
/// block of the AP.
std::string ap_release_block_rule(Ap& ap, Findings& found);
