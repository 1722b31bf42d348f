#include "kit/report_text.h"

#include "kit/text.h"

namespace kit {

namespace {

constexpr int kLastTwoFourGhzChannel = 14;
constexpr int kFirstFiveGhzMhz = 5000;

std::string decibels(int level) {
  return std::to_string(level) + " dBm";
}

std::string ghz(int mhz) {
  std::string text = format("%.3f", mhz / 1000.0);
  while (text.ends_with('0')) {
    text.pop_back();
  }
  return text + " GHz";
}

/// An SSID is written byte for byte, except for what every writer of such files has to avoid: a
/// line end or NUL becomes "?", and what the syntax would take for a comment or trim is quoted.
std::string ssid_value(std::string ssid) {
  for (char& letter : ssid) {
    if (letter == '\n' || letter == '\r' || letter == '\0') {
      letter = '?';
    }
  }
  const bool plain = ssid.find_first_of(";#") == std::string::npos && !ssid.starts_with(' ') &&
                     !ssid.ends_with(' ');
  return plain ? ssid : "\"" + ssid + "\"";
}

}  // namespace

void ReportText::add(const ApStatus& status) {
  add_section("00", {{"MAC", status.mac},
                     {"cpu", std::to_string(status.cpu) + "%"},
                     {"memory", std::to_string(status.memory) + "%"},
                     {"version", status.version},
                     {"uptime", status.uptime}});
}

void ReportText::add(const OwnRadio& radio) {
  const bool five_ghz = radio.mhz > kFirstFiveGhzMhz;
  add_numbered(five_ghz ? "5G_" : "", {{"Address", radio.mac},
                                       {"ESSID", ssid_value(radio.ssid)},
                                       {"Mode", "Master"},
                                       {"Frequency", ghz(radio.mhz)},
                                       {"Bit Rate", five_ghz ? "866.7 Mb/s" : "144.4 Mb/s"},
                                       {"Tx-Power", decibels(radio.power)},
                                       {"Link Quality", "94/94"},
                                       {"Signal level", decibels(radio.signal)},
                                       {"Noise level", decibels(kNoise)},
                                       {"Security mode", "WPA2-PSK / AES"}});
}

void ReportText::add(const ServedStation& station) {
  const bool five_ghz = station.channel > kLastTwoFourGhzChannel;
  add_numbered(format("%02d client %s", station.slot, five_ghz ? "5G " : ""),
               {{"ADDR", station.mac},
                {"AID", std::to_string(station.aid)},
                {"CHAN", std::to_string(station.channel)},
                {"RATE", std::to_string(station.rate) + "M"},
                {"RXRATE", std::to_string(station.rx_rate) + "M"},
                {"RSSI", std::to_string(station.rssi)},
                {"IDLE", std::to_string(station.idle)},
                {"TXSEQ", std::to_string(station.tx_seq)},
                {"RXSEQ", std::to_string(station.rx_seq)}});
}

void ReportText::add(const HeardRadio& radio) {
  const auto ssid = radio.ssid.empty() ? std::nullopt : std::optional(ssid_value(radio.ssid));
  const std::string kind = radio.mhz > kFirstFiveGhzMhz ? "Cell 5G " : "Cell ";
  add_numbered(kind, {{"Address", radio.mac},
                      {"ESSID", ssid},
                      {"Mode", "Master"},
                      {"Frequency", ghz(radio.mhz)},
                      {"Quality", format("%d/94", radio.signal - kNoise)},
                      {"Signal", decibels(radio.signal)},
                      {"Noise", decibels(kNoise)},
                      {"Encryption_key", "on"}});
}

void ReportText::add(const PoorStation& station) {
  const bool five_ghz = station.channel > kLastTwoFourGhzChannel;
  add_numbered(five_ghz ? "POOR_CLIENT 5G " : "POOR_CLIENT ",
               {{"ADDR", station.mac},
                {"SSID", ssid_value(station.ssid)},
                {"RSSI", std::to_string(station.rssi)},
                {"STATUS", "1"},
                {"CONNECTION_TIME", std::to_string(station.connection_time)}});
}

void ReportText::add_section(const std::string& name, Keys keys) {
  text_ += "[" + name + "]\n";
  for (const auto& [key, value] : keys) {
    if (value) {
      text_.append(key).append(" = ").append(*value).append("\n");
    }
  }
  text_ += "\n";
}

void ReportText::add_numbered(const std::string& kind, Keys keys) {
  add_section(kind + format("%02d", ++numbers_[kind]), keys);
}

}  // namespace kit
