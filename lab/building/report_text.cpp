#include "building/report_text.h"

#include <cmath>

#include "building/text.h"

namespace lab {

namespace {

constexpr int kPoorQuality = 15;  // dB above the noise: a station below is reported as poor

const char* prefix(Band band) {
  return band == Band::five_ghz ? "5G " : "";
}

std::string ghz(int channel) {
  std::string text = format("%.3f", frequency(band_of(channel), channel) / 1000.0);
  while (text.ends_with('0')) {
    text.pop_back();
  }
  return text + " GHz";
}

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

std::string own_radios(const World& world, const AccessPoint& ap) {
  std::string text;
  for (const Band band : kBands) {
    int slot = 0;
    for (const std::string& ssid : world.scenario().ssids) {
      ++slot;
      text += format("[%s%02d]\nAddress = %s\n", band == Band::five_ghz ? "5G_" : "", slot,
                     ap.bssid(band, slot).c_str());
      text += "ESSID = " + ssid_value(ssid) + "\nMode = Master\n";
      text += format("Frequency = %s\nBit Rate = %s Mb/s\nTx-Power = %.0f dBm\n",
                     ghz(ap.plan.channel[number_of(band)]).c_str(),
                     band == Band::five_ghz ? "866.7" : "144.4", ap.power[number_of(band)]);
      text += format("Link Quality = 94/94\nSignal level = -42 dBm\nNoise level = %.0f dBm\n",
                     kNoiseFloor);
      text += "Security mode = WPA2-PSK / AES\n\n";
    }
  }
  return text;
}

std::string station_sections(const World& world, const Observation& seen) {
  std::string text;
  std::string poor;
  for (const Band band : kBands) {
    int poor_number = 0;
    for (int slot = 1; slot <= static_cast<int>(world.scenario().ssids.size()); ++slot) {
      int number = 0;
      for (const HeardStation& heard : seen.stations) {
        const Station& station = *heard.station;
        const Crowd& crowd = world.scenario().crowds[static_cast<std::size_t>(station.crowd)];
        if (station.band != band || crowd.ssid != slot) {
          continue;
        }
        const int channel =
            world.aps()[static_cast<std::size_t>(station.ap)].plan.channel[number_of(band)];
        text += format("[%02d client %s%02d]\nADDR = %s\nAID = %d\nCHAN = %d\n", slot, prefix(band),
                       ++number, station.mac.c_str(), station.aid, channel);
        text += format("RATE = %dM\nRXRATE = %dM\nRSSI = %d\nIDLE = %d\n",
                       link_rate(band, heard.quality), link_rate(band, heard.quality - 3),
                       heard.quality, station.idle);
        text += format("TXSEQ = %u\nRXSEQ = %u\n\n", station.sent, station.received);
        if (heard.quality < kPoorQuality) {
          poor += format(
              "[POOR_CLIENT %s%02d]\nADDR = %s\nSSID = %s\nRSSI = %d\nSTATUS = 1\n"
              "CONNECTION_TIME = 1700000000\n\n",
              prefix(band), ++poor_number, station.mac.c_str(),
              world.scenario().ssids[static_cast<std::size_t>(slot - 1)].c_str(), heard.quality);
        }
      }
    }
  }
  return text + poor;
}

std::string cell_sections(const Observation& seen) {
  std::string text;
  for (const Band band : kBands) {
    int number = 0;
    for (const HeardRadio& radio : seen.radios) {
      if (band_of(radio.channel) != band) {
        continue;
      }
      text += format("[Cell %s%02d]\nAddress = %s\n", prefix(band), ++number, radio.bssid.c_str());
      if (!radio.ssid.empty()) {  // else hidden
        text += "ESSID = " + ssid_value(radio.ssid) + "\n";
      }
      text += format("Mode = Master\nFrequency = %s\nQuality = %d/94\nSignal = %d dBm\n",
                     ghz(radio.channel).c_str(), radio.signal - static_cast<int>(kNoiseFloor),
                     radio.signal);
      text += format("Noise = %.0f dBm\nEncryption_key = on\n\n", kNoiseFloor);
    }
  }
  return text;
}

}  // namespace

std::string report_text(const World& world, const AccessPoint& ap, const Observation& seen) {
  const int minutes = world.minute() - ap.up_since;
  const int load = 4 + static_cast<int>(seen.stations.size());
  std::string text = format("; report of %s\n[00]\nMAC = %s\ncpu = %d%%\nmemory = %d%%\n",
                            ap.plan.name.c_str(), ap.mac.c_str(), load, 38 + load / 2);
  text += format("version = %s\nuptime = 0 days, %02d:%02d\n\n", ap.version.c_str(), minutes / 60,
                 minutes % 60);
  return text + own_radios(world, ap) + station_sections(world, seen) + cell_sections(seen);
}

std::string capability_text(const World& world, const AccessPoint& ap) {
  const auto ssids = static_cast<int>(world.scenario().ssids.size());
  std::string text =
      format("[SYSTEM]\nversion = %s\npoe_passthru = 1\nethernet_num = 2\n", ap.version.c_str());
  text += format("wget_update = %d\n\n", ap.plan.fetches ? 1 : 0);
  text += format(
      "[2.4G]\nssid_max = %d\nmode = b,g,n,bgn\nhi_txpower = 23,23,22,22,21,21\n"
      "txpower = 20,20,20,19,19,18\nchannel = x,1,,6,,11,\nextension = 0\n"
      "defult_channel = %d\n\n",
      ssids, ap.plan.channel[0]);
  text += format(
      "[5G]\nssid_max = %d\nmode = a,n,ac,an\nhi_txpower1 = 26,26,25,25,24,24\n"
      "txpower1 = 23,23,23,22,22,21\nchannel1 = x,1,,1,,36,,40,,44,,48,\n"
      "channel2 = x,1,,2,,149,,153,,157,,161,\nextension = 0\ndefult_channel = %d\n\n",
      ssids, ap.plan.channel[1]);
  return text + "[OPERATION]\nmode = AP\n";
}

}  // namespace lab
