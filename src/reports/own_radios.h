#pragma once

#include <cstdint>
#include <string>

#include "db/ap.h"
#include "reports/numbered_sections.h"

/// One of the AP's own radios. A text that the report lacks is empty; BSSID and SSID are kMissingValue
/// then.
struct radio_record {
  std::string mac;             // BSSID, cut to 17 bytes
  std::string essid;           // cut to 127 bytes
  std::uint8_t mode = 0;       // 0 access point, 1 mesh or ad hoc
  std::uint16_t channel = 0;   // 0 for unknown
  std::string rate;            // as the AP words it, cut to 19 bytes
  std::string transmit_power;  // cut to 9 bytes, as the next
  std::string quality;
  std::string signal;    // first word of the level, "0" when absent
  std::string noise;     // likewise
  std::string security;  // cut to 255 bytes
};

/// Reads the sections "01" and "5G_01" (band, number), up to 8 a band, and then those of the mesh
/// interfaces, "MESH_01" and "5G_MESH_01".
Listing<radio_record> read_radios(const Report& report);

/// Makes the AP's own rows of `legal` the radios of the report, without those whose SSID is given, but
/// empty. Of a BSSID listed twice, the later values stay; one that another AP has reported before stays
/// that AP's. Does nothing for an AP that is not registered. The rows change together: no other process
/// sees the AP without radios.
void ap_interface_parse(Ap& ap, const Report& report);

/// Deletes the own radios of AP `sn`.
void delete_ap_legal_table(Connection& db, int sn);
