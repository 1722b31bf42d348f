#pragma once

#include <cstdint>
#include <string>

#include "db/connection.h"
#include "reports/numbered_sections.h"

/// A radio that the AP has heard. A text that the report lacks is kMissingValue.
struct cell_record {
  std::string mac;              // BSSID, cut to 17 bytes
  std::string essid;            // cut to 127 bytes; absent for a hidden network
  std::uint8_t mode = 0;        // 0 access point, 1 anything else
  std::uint16_t channel = 0;    // 0 for unknown
  std::string quality;          // as the AP words it, cut to 9 bytes
  std::string signal;           // first word of the level, "0" when absent
  std::string noise;            // likewise
  std::uint8_t encryption = 0;  // 1 the radio encrypts, 0 it is open
};

/// Reads the sections "Cell 01" and "Cell 5G 01" (band, number).
Listing<cell_record> read_cells(const Report& report);

/// Replaces what the AP has heard before by the cells of the report. A radio that a managed AP has
/// reported as its own becomes a sighting in `legal`; one that is heard hidden is stored under its
/// owner's SSID. Any other is foreign: its row in `illegal` holds the values of the AP that heard
/// it last and the list of all APs that hear it, to which this AP is added, once. A radio that
/// stands twice keeps the later values. Nothing happens for an AP that is not registered.
///
/// APs may report at the same time: each change of a list is one statement, and one that the server
/// gives up in favour of another AP's (a deadlock) is sent again. Returns the negative result of a
/// connection that did not open, else that of closing it.
int update_ap_legal_table_for_refer(const std::string& mac, const Report& report);

/// Takes out the sightings of AP `sn`.
void delete_ap_legal_table_for_refer(Connection& db, int sn);
