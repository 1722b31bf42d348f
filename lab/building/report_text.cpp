#include "building/report_text.h"

#include <cmath>

#include "building/text.h"
#include "kit/report_text.h"

namespace lab {

namespace {

constexpr int kPoorQuality = 15;  // dB above the noise: a station below is reported as poor

void add_own_radios(kit::ReportText& report, const World& world, const AccessPoint& ap) {
  constexpr int kSignal = -42;  // dBm
  for (const Band band : kBands) {
    int slot = 0;
    for (const std::string& ssid : world.scenario().ssids) {
      if (ap.plan.carries(++slot)) {
        report.add(kit::OwnRadio{
            ap.bssid(band, slot), ssid, frequency(band, ap.plan.channel[number_of(band)]),
            static_cast<int>(std::lround(ap.power[number_of(band)])), kSignal});
      }
    }
  }
}

void add_stations(kit::ReportText& report, const World& world, const Observation& seen) {
  constexpr long kConnected = 1'700'000'000;
  for (const HeardStation& heard : seen.stations) {
    const Station& station = *heard.station;
    const int slot = world.scenario().crowds[static_cast<std::size_t>(station.crowd)].ssid;
    const AccessPoint& ap = world.aps()[static_cast<std::size_t>(station.ap)];
    const int channel = ap.plan.channel[number_of(station.band)];
    report.add(kit::ServedStation{slot, station.mac, station.aid, channel,
                                  link_rate(station.band, heard.quality),
                                  link_rate(station.band, heard.quality - 3), heard.quality,
                                  station.idle, station.sent, station.received});
    if (heard.quality < kPoorQuality) {
      report.add(kit::PoorStation{channel, station.mac,
                                  world.scenario().ssids[static_cast<std::size_t>(slot - 1)],
                                  heard.quality, kConnected});
    }
  }
}

}  // namespace

std::string report_text(const World& world, const AccessPoint& ap, const Observation& seen) {
  const int minutes = world.minute() - ap.up_since;
  const int load = 4 + static_cast<int>(seen.stations.size());
  kit::ReportText report;
  report.add(kit::ApStatus{ap.mac, load, 38 + load / 2, ap.version,
                           format("0 days, %02d:%02d", minutes / 60, minutes % 60)});
  add_own_radios(report, world, ap);
  add_stations(report, world, seen);
  for (const HeardRadio& radio : seen.radios) {
    report.add(kit::HeardRadio{radio.bssid, radio.ssid,
                               frequency(band_of(radio.channel), radio.channel), radio.signal});
  }
  return "; report of " + ap.plan.name + "\n" + report.text();
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
