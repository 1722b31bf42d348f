#include "building/world.h"

#include <strings.h>
#include <algorithm>
#include <array>
#include <cmath>

#include "building/text.h"

namespace lab {

namespace {

constexpr double kMetresAMinute = 36;  // an unhurried walk, with stops
constexpr double kUsable = -82;        // dBm: fainter, and a station does not try
constexpr double kContent = -70;       // dBm: louder, and a station does not look for another AP
constexpr double kWorthRoaming = 6;    // dB better, before it changes
constexpr double kFiveGhzBonus = 8;    // dB by which it prefers the faster band
constexpr int kMinutesOfAvoiding = 3;  // the AP that kicked it
constexpr double kPowerStep = 1;       // dB, each autoRF

}  // namespace

const char* name_of(Deed deed) {
  static constexpr std::array kNames{"join",    "leave",       "kick",           "block",
                                     "release", "release all", "power down",     "power up",
                                     "filter",  "restart",     "firmware offer", "firmware done"};
  return kNames[static_cast<std::size_t>(deed)];
}

std::string AccessPoint::bssid(Band band, int slot) const {
  return format("%.15s%02X", mac.c_str(), 16 * number_of(band) + slot);
}

bool AccessPoint::refuses(const std::string& station_mac) const {
  const bool listed = filter.contains(station_mac);
  return refused.contains(station_mac) || (filter_mode == 1 && !listed) ||
         (filter_mode > 1 && listed);
}

World::World(Scenario scenario)
    : scenario_(std::move(scenario)), life_(scenario_.seed), air_(~scenario_.seed) {
  for (const ApPlan& plan : scenario_.aps) {
    AccessPoint ap;
    ap.number = static_cast<int>(aps_.size());
    ap.plan = plan;
    ap.mac = format("02:1A:B0:%02X:%02X:00", ap.number / 256, ap.number % 256);
    ap.ip = format("10.7.%d.%d", ap.number / 250, ap.number % 250 + 1);
    aps_.push_back(ap);
  }
  for (const ForeignPlan& plan : scenario_.foreign) {
    ForeignRadio radio{plan,
                       format("0A:0F:%02X:%02X:%02X:%02X", life_.whole(0, 255), life_.whole(0, 255),
                              life_.whole(0, 255), static_cast<int>(foreign_.size()) % 256)};
    if (plan.random_ssid) {
      radio.plan.ssid.clear();
      for (int i = 0; i < 32; ++i) {
        radio.plan.ssid += static_cast<char>(life_.whole(0, 255));
      }
    }
    foreign_.push_back(radio);
  }
  int number = 0;
  for (const Crowd& crowd : scenario_.crowds) {
    if (crowd.room != kEveryRoom) {
      settle(number, crowd, crowd.room);
    } else {
      for (std::size_t room = 0; room < scenario_.rooms.size(); ++room) {
        settle(number, crowd, static_cast<int>(room));
      }
    }
    ++number;
  }
}

void World::settle(int crowd_number, const Crowd& crowd, int room) {
  for (int i = 0; i < crowd.people; ++i) {
    Station station;
    const auto number = static_cast<unsigned>(stations_.size());
    station.mac = format("06:%02x:%02x:%02x:%02x:%02x", life_.whole(0, 255), life_.whole(0, 255),
                         life_.whole(0, 255), number / 256 % 256, number % 256);
    station.crowd = crowd_number;
    station.room = room;
    station.arrives = life_.whole(crowd.arrive[0], crowd.arrive[1]);
    station.leaves = life_.whole(crowd.leave[0], crowd.leave[1]);
    station.dual_band = life_.chance(0.75);
    station.busy = life_.between(0.7, 0.99);
    station.sent = static_cast<unsigned>(life_.whole(0, 4000));
    station.received = static_cast<unsigned>(life_.whole(0, 4000));
    stations_.push_back(station);
  }
}

Point World::seat_in(int room) {
  const Room& place = scenario_.rooms[static_cast<std::size_t>(room)];
  return {place.corner.x + life_.between(0.08, 0.92) * place.width,
          place.corner.y + life_.between(0.08, 0.92) * place.height};
}

void World::walk_to(Station& station, Point seat, int room) {
  station.way.clear();
  if (station.room != room) {
    station.way.push_back(scenario_.rooms[static_cast<std::size_t>(station.room)].door);
    station.room = room;
  }
  station.way.push_back(scenario_.rooms[static_cast<std::size_t>(room)].door);
  station.way.push_back(seat);
}

void World::walk(Station& station) {
  double left = kMetresAMinute;
  while (!station.way.empty() && left > 0) {
    const Point next = station.way.front();
    const double far = distance(station.at, next);
    if (far <= left) {
      station.at = next;
      station.way.pop_front();
    } else {
      station.at.x += (next.x - station.at.x) * left / far;
      station.at.y += (next.y - station.at.y) * left / far;
    }
    left -= far;
  }
}

void World::pass_minute() {
  ++minute_;
  for (Station& station : stations_) {
    const Crowd& crowd = scenario_.crowds[static_cast<std::size_t>(station.crowd)];
    const auto room = static_cast<std::size_t>(station.room);
    if (!station.inside) {
      if (station.arrives != minute_) {
        continue;
      }
      station.inside = true;
      // People who are there from the first minute did not just come in.
      const bool was_there = crowd.arrive[1] <= 1;
      station.at = was_there ? seat_in(station.room) : scenario_.entrance;
      if (!was_there) {
        walk_to(station, seat_in(station.room), station.room);
      }
    } else if (station.leaves == minute_) {
      station.way = {scenario_.rooms[room].door, scenario_.entrance};
    } else if (station.way.empty() && station.leaves < minute_) {
      station.inside = false;
      use(station, -1);
      continue;
    } else if (station.way.empty() && station.leaves > minute_ && life_.chance(crowd.wander)) {
      const int target = life_.whole(0, static_cast<int>(scenario_.rooms.size()) - 1);
      walk_to(station, seat_in(target), target);
    }
    walk(station);
    const bool traffic = life_.chance(station.busy);
    station.idle = traffic ? life_.whole(0, 25) : station.idle + 60;
    if (traffic) {
      station.sent += static_cast<unsigned>(life_.whole(20, 900));
      station.received += static_cast<unsigned>(life_.whole(20, 900));
    }
    associate(station);
  }
}

void World::use(Station& station, int ap) {
  if (station.ap != ap) {
    changes_.push_back({minute_, index_of(station), ap});
    station.ap = ap;
  }
}

void World::associate(Station& station) {
  struct Choice {
    int ap = -1;
    Band band = Band::two_ghz;
    double heard = kUsable;
    double liking = kUsable;
  };
  Choice best;
  const int slot = scenario_.crowds[static_cast<std::size_t>(station.crowd)].ssid;
  double present = -999;  // liking of what it uses
  for (const AccessPoint& ap : aps_) {
    const bool avoided = ap.number == station.avoids && minute_ < station.avoids_until;
    if (!ap.up || avoided || !ap.plan.carries(slot) ||
        std::abs(ap.plan.at.x - station.at.x) > 150 || ap.refuses(station.mac)) {
      continue;
    }
    for (const Band band : kBands) {
      if (band == Band::five_ghz && !station.dual_band) {
        continue;
      }
      const double heard =
          level(band, ap.power[number_of(band)], ap.plan.at, station.at, scenario_.air);
      const double liking = heard + (band == Band::five_ghz ? kFiveGhzBonus : 0);
      if (ap.number == station.ap && band == station.band) {
        present = heard >= kContent ? 999 : heard >= kUsable ? liking : -999;
      }
      if (heard >= kUsable && liking > best.liking) {
        best = {ap.number, band, heard, liking};
      }
    }
  }
  if (station.ap >= 0 && present + kWorthRoaming > best.liking) {
    return;
  }
  if (best.ap >= 0 && best.ap != station.ap) {
    station.idle = air_.whole(0, 5);  // it has just talked
    station.aid = 1;
    for (const Station& other : stations_) {
      station.aid += other.ap == best.ap && &other != &station ? 1 : 0;
    }
  }
  use(station, best.ap);
  station.band = best.band;
}

void World::note(Deed deed, int ap, int station) {
  occurrences_.push_back({minute_, deed, ap, station});
}

void World::bring_up(int ap) {
  AccessPoint& here = aps_[static_cast<std::size_t>(ap)];
  here.up = true;
  here.up_since = minute_;
  here.comes_back = 0;
  std::copy(std::begin(scenario_.power), std::end(scenario_.power), here.power);
  note(Deed::join, ap);
}

void World::look_for_aps() {
  for (Station& station : stations_) {
    if (station.inside && station.ap < 0) {
      associate(station);
    }
  }
}

void World::take_down(int ap, Deed why) {
  AccessPoint& here = aps_[static_cast<std::size_t>(ap)];
  here.up = false;
  here.refused.clear();
  here.filter.clear();
  here.filter_mode = 0;
  note(why, ap);
  for (Station& station : stations_) {
    if (station.ap == ap) {
      use(station, -1);
      associate(station);
    }
  }
}

void World::install(int ap, const std::string& version, int back_in_minutes) {
  AccessPoint& here = aps_[static_cast<std::size_t>(ap)];
  here.version = version;
  here.comes_back = minute_ + back_in_minutes;
}

int World::clients(int ap, Band band) const {
  return static_cast<int>(std::count_if(
      stations_.begin(), stations_.end(),
      [&](const Station& station) { return station.ap == ap && station.band == band; }));
}

Station* World::find_station(const std::string& mac) {
  for (Station& station : stations_) {
    if (strcasecmp(station.mac.c_str(), mac.c_str()) == 0) {
      return &station;
    }
  }
  return nullptr;
}

void World::release(int ap, const std::string& station_mac) {
  Station* station = find_station(station_mac);
  if (station != nullptr && aps_[static_cast<std::size_t>(ap)].refused.erase(station->mac) > 0) {
    note(Deed::release, ap, index_of(*station));
  }
}

void World::release_all(const AccessPoint& here) {
  if (here.refused.empty()) {
    return;
  }
  note(Deed::release_all, here.number);
  for (const std::string& mac : std::set<std::string>(here.refused)) {
    release(here.number, mac);
  }
}

void World::obey_power(AccessPoint& here, int direction) {
  const double before = here.power[0];
  for (const Band band : kBands) {
    double& power = here.power[number_of(band)];
    power =
        std::clamp(power + direction * kPowerStep, kWeakestPower, scenario_.power[number_of(band)]);
  }
  if (here.power[0] != before) {
    note(direction > 0 ? Deed::power_up : Deed::power_down, here.number);
  }
}

void World::obey_filter(AccessPoint& here, const Command& command) {
  std::set<std::string> listed;
  for (const std::string& address : command.filter_addresses) {
    const Station* station = find_station(address);
    listed.insert(station != nullptr ? station->mac : address);
  }
  if (here.filter_mode != *command.filter_mode || here.filter != listed) {
    note(Deed::filter, here.number);
  }
  here.filter_mode = *command.filter_mode;
  here.filter = listed;
  if (here.filter_mode != 0) {
    release_all(here);  // the filter alone says who may be here
  }
  for (Station& station : stations_) {
    if (station.ap == here.number && here.refuses(station.mac)) {
      use(station, -1);
      associate(station);
    }
  }
}

void World::send_away(int ap, const std::string& station_mac, Deed deed) {
  Station* station = find_station(station_mac);
  if (station == nullptr) {
    return;
  }
  note(deed, ap, index_of(*station));
  if (deed == Deed::block) {
    aps_[static_cast<std::size_t>(ap)].refused.insert(station->mac);
  }
  if (station->ap == ap) {
    use(*station, -1);
    station->avoids = ap;
    station->avoids_until = minute_ + kMinutesOfAvoiding;
    associate(*station);
  }
}

void World::obey(int ap, const Command& command) {
  AccessPoint& here = aps_[static_cast<std::size_t>(ap)];
  if (command.type == kReleaseAll) {
    release_all(here);
  }
  for (const std::string& mac : command.release) {
    release(ap, mac);
  }
  if (command.auto_rf && *command.auto_rf != 0) {
    obey_power(here, *command.auto_rf > 0 ? 1 : -1);
  }
  if (command.filter_mode) {
    obey_filter(here, command);
  }
  for (const std::string& mac : command.kick) {
    send_away(ap, mac, Deed::kick);
  }
  for (const std::string& mac : command.block) {
    send_away(ap, mac, Deed::block);
  }
}

}  // namespace lab
