#pragma once

#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <utility>

namespace kit {

/// The load of an AP, as its report begins.
struct ApStatus {
  std::string mac;
  int cpu;     // %
  int memory;  // %
  std::string version;
  std::string uptime;
};

/// A radio of the AP itself: one SSID on one band.
struct OwnRadio {
  std::string mac;
  std::string ssid;
  int mhz;
  int power;   // dBm
  int signal;  // dBm
};

/// A station that the AP serves. Rates are in Mb/s, the RSSI is in dB above the noise.
struct ServedStation {
  int slot;  // of the SSID, from 1
  std::string mac;
  int aid, channel, rate, rx_rate, rssi;
  int idle;  // seconds
  unsigned tx_seq, rx_seq;
};

/// A radio that the AP hears.
struct HeardRadio {
  std::string mac;
  std::string ssid;  // empty: hidden
  int mhz;
  int signal;  // dBm
};

/// A station whose link is bad.
struct PoorStation {
  int channel;
  std::string mac;
  std::string ssid;
  int rssi;
  long connection_time;  // seconds since 1970
};

/// The text of a report, as APs write it: sections in the order in which they are added, each
/// numbered from 1 within its kind and band. Noise is at kNoise everywhere.
class ReportText {
 public:
  static constexpr int kNoise = -95;  // dBm

  void add(const ApStatus& status);
  void add(const OwnRadio& radio);
  void add(const ServedStation& station);
  void add(const HeardRadio& radio);
  void add(const PoorStation& station);

  /// Keys and their values; one without a value is left out.
  using Keys = std::initializer_list<std::pair<const char*, std::optional<std::string>>>;

  /// Any other section.
  void add_section(const std::string& name, Keys keys);

  /// Any other numbered section: `kind` is its name up to the number.
  void add_numbered(const std::string& kind, Keys keys);

  const std::string& text() const { return text_; }

 private:
  std::string text_;
  std::map<std::string, int> numbers_;  // the last of each kind
};

}  // namespace kit
