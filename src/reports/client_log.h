#pragma once

#include <string>

#include "db/ap.h"
#include "values/client_record.h"

// The client connection log: a line in the system log for a station of an AP, with the names of
// station, AP and SSID.

/// Whether it is written: while setting 113 is not 0 and setting 30 is no all-zero address.
bool connection_log_is_on();

/// Logs a station that has been connected since `connected_time`. No line is written when the
/// station's SSID profile or the AP is not found. A station that has no name is logged under its MAC.
/// Names are cut to 255 bytes, the line to 1023; none of them is escaped.
void ap_client_connection_log(Ap& ap, const client_record& client,
                              const std::string& connected_time);

/// Fetches ahead what that asks.
void fetch_connection_log_names(Ap& ap, const client_record& client);
