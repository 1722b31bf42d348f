#pragma once

#include "db/ap.h"
#include "reports/numbered_sections.h"
#include "values/client_record.h"

/// A station of the report and the SSID slot under which it is listed. The record's `ssid` is not set
/// yet: it follows from the slot.
struct reported_station {
  Band band = Band::two_four_ghz;
  int slot = 0;
  client_record client;
};

/// Reads the sections "02 client 5G 03" (slot, band, number), in the order 2.4 GHz, 5 GHz, slot,
/// number. MACs are cut to 17 bytes, rates to 19; numbers keep the low bits that fit.
Listing<reported_station> read_stations(const Report& report);

/// Whether a station is stored. One whose rate is given, but empty, is not: the AP is about to drop it.
bool is_served(const client_record& client);

/// Makes the rows of the AP's client table the stations of the report. Of a station listed twice, the
/// later values stay. Writes every station to the kernel's list (/proc/net/xt_APClient). Then stores
/// the mesh links.
///
/// While setting 113 is not 0 and setting 30 is no all-zero address, each station that had a row
/// already gets a line in the system log: since when it is connected, its AP and SSID. A station
/// without a name is called by its MAC; without SSID profile or AP there is no line. Names are cut to
/// 255 bytes, the line to 1023; none of them is escaped.
///
/// For an AP that is not registered only the mesh links are stored, and a table of AP 0 is made.
void update_ap_client_db(Ap& ap, const Report& report);
