#pragma once

#include <string>

#include "db/ap.h"
#include "steering/findings.h"

/// Sends stations away from the AP: chooses up to `ret` (1 or more) to disconnect and up to `ret` to
/// refuse, possibly the same ones. Returns their "kick" and "block" lines.
///
/// Disconnected are the longest idle first, none below 31 seconds. Refused are those with the best link
/// first, if another managed AP, heard above -70 dBm on the same SSID and band, would serve them as well
/// and no AP refuses them yet. They are entered into the block table.
std::string send_away(Ap& ap, int ret, Findings& found);
