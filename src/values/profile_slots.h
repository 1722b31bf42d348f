#pragma once

#include <cstdint>
#include <string_view>

/// The number of the SSID profile in `slot` (from 1) of a radio whose slots `list` names: comma-
/// separated profile numbers, slot 1 first. 0 for slot 0, one beyond the end, or an item without
/// digits.
std::uint32_t profile_in_slot(std::string_view list, int slot);
