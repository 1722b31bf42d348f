#pragma once

#include <cstdint>
#include <string>

#include "platform/text.h"

/// One station of an AP, as the AP reports it or as its row in the AP's client table holds it.
struct client_record {
  std::string mac;            // at most 19 bytes
  std::uint32_t ssid = 0;     // profile number of the SSID it uses, 0 for unknown
  std::uint16_t aid = 0;      // association id
  std::uint16_t channel = 0;  // of the radio that it uses
  std::string tx_rate;        // as the AP words it, at most 19 bytes; kMissingValue for absent
  std::string rx_rate;        // likewise
  std::int32_t rssi = 0;      // signal, larger is better; the unit is the AP's
  std::uint32_t idle = 0;     // seconds without traffic
  std::uint32_t tx_seq = 0;   // frame counters of the AP
  std::uint32_t rx_seq = 0;
};

/// A reported text as it is stored: the missing-value marker becomes the empty text.
inline std::string stored_text(const std::string& text) {
  return text == kMissingValue ? std::string() : text;
}
