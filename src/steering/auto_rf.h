#pragma once

#include <string>

#include "db/ap.h"

/// How the other APs hear an AP: whether at least one hears it so.
struct Hearing {
  bool strongly = false;  // above the level
  bool at_all = false;
  bool weakly = false;  // below the level
};

/// How an AP is to change its radio power: the value of the "autoRF" line.
enum class PowerStep { down = -1, none = 0, up = 1 };

/// Down for an AP that another hears strongly, up for one that is heard, but only weakly.
PowerStep power_step(const Hearing& hearing);

/// Whether the AP should step its radio power down (another managed AP hears it above -70 dBm) or
/// up (others hear it, all below): the "autoRF" line of its command; empty when it should stay, or
/// without a database. What others hear goes to `hearing`.
std::string ap_auto_rf_rule(Ap& ap, Hearing& hearing);
