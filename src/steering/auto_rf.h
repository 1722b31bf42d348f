#pragma once

#include <optional>
#include <string>

/// Whether the AP should step its radio power down (another managed AP hears it above -70 dBm) or
/// up (others hear it, all below): the "autoRF" line of its command. None when it should stay, or
/// without a database.
std::optional<std::string> ap_auto_rf_rule(const std::string& mac);
