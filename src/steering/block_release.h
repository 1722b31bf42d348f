#pragma once

#include <optional>
#include <string>

#include "db/ap.h"
#include "steering/findings.h"

/// Looks at every station that the AP refuses: it may come back unless it sits at a managed AP that
/// this AP hears on the same SSID. Lifts those blocks and returns their "release" lines, or none.
/// A block whose profile has no SSID stays. `found.blocks` tells of each.
std::optional<std::string> ap_release_block_rule(Ap& ap, Findings& found);

/// Writes the stations of the AP `other_sn` to the trace; without tracing they are not asked for.
void ap_client_count(Connection& db, int other_sn);

/// Whether the station sits at the AP `other_sn`.
bool findClientByMac(Connection& db, int other_sn, const std::string& client_mac);
