#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "db/connection.h"
#include "values/channel_table.h"

// Which SSID profile stands in which slot of an AP's radio: comma lists of profile numbers in the
// AP's registry row, slot 1 first.

/// The profile number of `slot` (from 1) in such a list; 0 for slot 0, one beyond the end, or an
/// item without digits.
std::uint32_t profile_in_slot(std::string_view list, int slot);

/// Asks for the AP's list of the band.
[[nodiscard]] Question ask_ap_pf_id(Connection& db, const std::string& mac, Band band);

/// Waits for the list; empty when it is NULL or the AP is not registered.
std::string ap_pf_id(const Question& list);

/// The profile number of the slot: waits for the list and looks into it.
std::uint32_t get_ap_pf_id(const Question& list, int slot);
