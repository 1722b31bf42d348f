#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "db/connection.h"

// Look-ups in the registry of APs (ap_list) and of SSID profiles (ap_profile). A MAC may be given
// in either case. A failed query cannot be told from a missing row.

/// The serial number of the AP; 0 when it is not registered.
int get_ap_sn_by_mac(Connection& db, const std::string& mac);

/// The same for the AP whose report is worked off: one that is not registered is noted in the trace
/// of `operation`.
int get_reporting_ap_sn(Connection& db, const std::string& mac, const char* operation);

/// The name of the AP, possibly empty; none when it is not registered or the name is NULL.
std::optional<std::string> get_ap_name_by_mac(Connection& db, const std::string& mac);

/// The address of the AP, "0.0.0.0" while it is away; none as above.
std::optional<std::string> get_ap_ip_by_mac(Connection& db, const std::string& mac);

/// The SSID of profile `sn`, escaped so that it can stand between single quotes in a statement;
/// none when there is no such profile or its SSID is NULL.
std::optional<std::string> get_profile_ssid_by_sn(Connection& db, int sn);

/// The same in two steps, for many at once: the question, asked ahead, and what its rows say.
[[nodiscard]] Question ask_profile_ssid(Connection& db, int sn);
std::optional<std::string> profile_ssid(const Question& asked);

/// Asks ahead for the number of the profile whose SSID is exactly `ssid`, as below.
[[nodiscard]] Question ask_profile_sn_by_ssid(Connection& db, std::string_view ssid);

/// Traces that question and waits for the number; 0 when there is no such profile.
int profile_sn(const Question& asked);

/// The number of the profile whose SSID is exactly `ssid` (0 to 32 bytes of anything; kMissingValue
/// stands for the empty SSID); 0 when there is none.
int get_profile_sn_by_ssid(Connection& db, std::string_view ssid);
