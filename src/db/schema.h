#pragma once

#include "db/connection.h"
#include "exported/names.h"

// The databases, and the tables whose names the program exports. Every statement names its database
// explicitly.

inline constexpr SqlName AP_INFO{"AP_INFO"};                // registry and SSID profiles
inline constexpr SqlName AP_CLIENT{"AP_CLIENT"};            // stations, radios, blocks, mesh
inline constexpr SqlName AP_POOR_CLIENT{"AP_POOR_CLIENT"};  // poorly served stations
inline constexpr SqlName AP_USER{"AP_USER"};                // app users and device names
inline constexpr SqlName CONNTRACK_LOG{"CONNTRACK_LOG"};    // dated: CONNTRACK_LOG_20260131

/// `Status` of ap_list.
inline constexpr int kNotConnected = 0;
inline constexpr int kConnected = 1;

/// `action` of ap_list: what has been ordered for an AP.
enum class ApAction { none = 0, reboot = 1, update = 2 };

/// An AP's address while it is away or an action is pending.
inline constexpr const char* kNoAddress = "0.0.0.0";

/// Index into CONNTRACK_LOG_TABLE of the log of the AP controller, the only one written here.
inline constexpr int kApControllerLog = 11;

/// Entries of AP_INFO_TABLE that the program uses.
enum class InfoTable { ap_list = 0, ap_profile = 5, client_name = 6, app_login = 8 };

/// The table's name as AP_INFO_TABLE has it.
SqlName table_name(InfoTable table);

/// Makes the table of the stations of AP `sn` (0: an unknown AP), AP_CLIENT.AP_<sn>, unless it is
/// there.
void create_client_table(Connection& db, int sn);

/// Makes the table of the poorly served stations of AP `sn`, AP_POOR_CLIENT.AP_<sn>, unless it is
/// there.
void create_poor_client_table(Connection& db, int sn);
