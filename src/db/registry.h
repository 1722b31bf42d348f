#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "db/connection.h"
#include "values/channel_table.h"

// Look-ups in the registry of APs (ap_list) and of SSID profiles (ap_profile). A MAC may be given
// in either case. A query that failed counts as one that found nothing.

/// The serial number of the AP; 0 when it is not registered.
int get_ap_sn_by_mac(Connection& db, const std::string& mac);

/// The name of the AP, possibly empty; none when it is not registered or the name is NULL.
std::optional<std::string> get_ap_name_by_mac(Connection& db, const std::string& mac);

/// The address of the AP, "0.0.0.0" while it is away; none as for the name.
std::optional<std::string> get_ap_ip_by_mac(Connection& db, const std::string& mac);

/// The SSID profile number in `slot` (from 1) of `list`, the comma-separated numbers of a radio's
/// slots. 0 for slot 0, a slot beyond the end, or an item without digits.
std::uint32_t profile_in_slot(std::string_view list, int slot);

/// The SSID profile number in a slot of the AP's radio; 0 as above, or when the AP is not registered.
/// Leaves no trace line.
std::uint32_t get_ap_pf_id(Connection& db, const std::string& mac, Band band, int slot);

/// Its query, to be fetched ahead, and what that has found.
Query profile_slots_query(const std::string& mac, Band band);
std::uint32_t peek_ap_pf_id(Connection& db, const std::string& mac, Band band, int slot);

/// The SSID of profile `sn`, escaped; none when there is no such profile or its SSID is NULL.
std::optional<SqlText> get_profile_ssid_by_sn(Connection& db, int sn);

/// Its query, to be fetched ahead, and what that has found.
Query profile_ssid_query(int sn);
std::optional<SqlText> peek_profile_ssid(Connection& db, int sn);

/// The number of the profile whose SSID is exactly `ssid` (0 to 32 bytes of anything; kMissingValue
/// means the empty SSID); 0 when there is none.
int get_profile_sn_by_ssid(Connection& db, std::string_view ssid);

/// Its query, to be fetched ahead.
Query profile_sn_query(std::string_view ssid);
