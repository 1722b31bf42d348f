#pragma once

#include <string>

#include "db/ap.h"
#include "steering/findings.h"

/// Looks at every station that the AP refuses: it may come back unless it sits at a managed AP that
/// this AP hears on the same SSID. Lifts those blocks and returns their "release" lines.
/// A block whose profile has no SSID stays. `found.blocks` tells of each.
std::string ap_release_block_rule(Ap& ap, Findings& found);
