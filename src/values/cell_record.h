#pragma once

#include <cstdint>
#include <string>

/// A radio that the AP has heard. A text that the report lacks is empty; BSSID and SSID are
/// kMissingValue then.
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
