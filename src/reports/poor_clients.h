#pragma once

#include <cstdint>
#include <string>

#include "db/ap.h"
#include "reports/numbered_sections.h"

/// A station that the AP reports as poorly served.
struct poor_client_record {
  std::string mac;                    // cut to 17 bytes
  std::int32_t band = 0;              // 0: 2.4 GHz, 1: 5 GHz
  std::int32_t rssi = 0;              // link level, as the AP gives it
  std::int32_t status = 0;            // as the AP gives it
  std::uint32_t connection_time = 0;  // when it connected, in seconds since the epoch
};

/// Reads the sections "POOR_CLIENT 5G 01" (band, number) of one band.
Listing<poor_client_record> read_poor_clients(const Report& report, Band band);

/// Makes the AP's poor-client table anew from the report. The sections do not name the SSID slot: each
/// station is stored once for every slot of its band that has a profile, and keeps the profile of the
/// highest; in a band without profiles none is stored. A time after 2038 is stored as the latest that a
/// server can hold. For an AP that is not registered nothing is stored, but a table of AP 0 is made.
void update_ap_poor_client_db(Ap& ap, const Report& report);
