#pragma once

#include <string>

#include "db/ap.h"
#include "steering/findings.h"

// The two stages of a load-balancing pass that send stations away from the AP, `ret` (1 or more) of
// them at most each. A station may be chosen by both.

/// Chooses stations to disconnect: the longest idle first, none below 31 seconds. Their "kick"
/// lines, empty for none.
std::string ap_block_idle_rule(Ap& ap, int ret, Findings& found);

/// Fetches ahead the stations that ap_block_snr_rule looks at.
void fetch_block_candidates(Ap& ap);

/// Chooses stations to refuse: those with the best link first, of those that another managed AP,
/// heard above -70 dBm on the same SSID and band, would serve as well and that no AP refuses yet.
/// They are entered into the block table. Their "block" lines, empty for none.
std::string ap_block_snr_rule(Ap& ap, int ret, Findings& found);
