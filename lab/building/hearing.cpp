#include <algorithm>
#include <cmath>

#include "building/world.h"

// What the APs of a building hear.

namespace lab {

namespace {

constexpr double kMeasuringError = 0.7;  // dB
constexpr double kStationPower = 15;     // dBm: less than an AP has

}  // namespace

bool World::neighbours(int one, int other) const {
  const Point a = aps_[static_cast<std::size_t>(one)].plan.at;
  const Point b = aps_[static_cast<std::size_t>(other)].plan.at;
  // The loss is the same either way. Allows for errors of measuring.
  return std::any_of(std::begin(kBands), std::end(kBands), [&](Band band) {
    return level(band, scenario_.power[number_of(band)], a, b, scenario_.air) > kFaintest - 3;
  });
}

Observation World::observe(int ap) {
  const AccessPoint& here = aps_[static_cast<std::size_t>(ap)];
  Observation seen;
  const auto hear = [&](Band band, double power, Point from, HeardRadio radio) {
    const double heard = level(band, power, from, here.plan.at, scenario_.air);
    if (heard >= kFaintest) {
      radio.signal = static_cast<int>(std::lround(heard + air_.bell(kMeasuringError)));
      seen.radios.push_back(std::move(radio));
    }
  };
  for (const AccessPoint& other : aps_) {
    if (&other == &here || !other.up || !neighbours(ap, other.number)) {
      continue;
    }
    for (const Band band : kBands) {
      int slot = 0;
      for (const std::string& ssid : scenario_.ssids) {
        if (other.plan.carries(++slot)) {
          hear(band, other.power[number_of(band)], other.plan.at,
               {other.bssid(band, slot), ssid, other.plan.channel[number_of(band)], 0, true});
        }
      }
    }
  }
  for (const ForeignRadio& other : foreign_) {
    hear(band_of(other.plan.channel), other.plan.power, other.plan.at,
         {other.bssid, other.plan.ssid, other.plan.channel, 0, false});
  }
  for (const Station& station : stations_) {
    if (station.ap == ap) {
      const double heard =
          level(station.band, kStationPower, station.at, here.plan.at, scenario_.air);
      const double quality = heard - kNoiseFloor + air_.bell(kMeasuringError);
      seen.stations.push_back({&station, std::max(1, static_cast<int>(std::lround(quality)))});
    }
  }
  std::stable_sort(
      seen.stations.begin(), seen.stations.end(),
      [](const HeardStation& a, const HeardStation& b) { return a.station->aid < b.station->aid; });
  return seen;
}

}  // namespace lab
