#pragma once

#include <deque>
#include <functional>
#include <set>
#include <string>
#include <vector>

#include "building/command_text.h"
#include "building/radio.h"
#include "building/random.h"
#include "building/scenario.h"

// The building itself: APs, stations and foreign radios, without a controller. It is driven from
// outside, minute by minute, and every run with the same scenario and the same commands is alike.

namespace lab {

struct AccessPoint {
  int number = 0;
  ApPlan plan;
  std::string mac;  // upper case
  std::string ip;
  bool up = false;
  int up_since = 0;    // minute
  int comes_back = 0;  // minute at which a restart is over; 0: none under way
  std::string version = "2.1.0";
  double power[2] = {0, 0};  // dBm
  std::set<std::string> refused;
  int filter_mode = 0;
  std::set<std::string> filter;

  /// The BSSID of an SSID slot, from 1.
  std::string bssid(Band band, int slot) const;
  /// Blocked, or kept out by the MAC filter: mode 1 admits only the addresses of the list, any
  /// other mode but 0 keeps them out.
  bool refuses(const std::string& station_mac) const;
};
inline constexpr double kWeakestPower = 8;  // dBm: an AP steps no further down

struct Station {
  std::string mac;  // lower case, as reports give it
  int crowd = 0;
  int room = 0;         // where it belongs
  bool inside = false;  // in the building at all
  Point at;
  std::deque<Point> way;  // where it still has to walk through
  int arrives = 0;
  int leaves = 0;
  bool dual_band = true;
  double busy = 1;  // chance of traffic in a minute
  int ap = -1;      // the AP that it uses; -1: none
  Band band = Band::two_ghz;
  int aid = 0;
  int idle = 0;          // seconds without traffic
  int avoids = -1;       // the AP that kicked it last,
  int avoids_until = 0;  // and the minute up to which it remembers that
  unsigned sent = 0;     // sequence numbers
  unsigned received = 0;
};

struct ForeignRadio {
  ForeignPlan plan;
  std::string bssid;
};

/// One radio that an AP heard, or one of its own.
struct HeardRadio {
  std::string bssid;
  std::string ssid;
  int channel = 0;
  int signal = 0;  // dBm
  bool managed = false;
};

/// One station as its AP sees it.
struct HeardStation {
  const Station* station = nullptr;
  int quality = 0;  // dB above the noise, larger is better
};

/// What an AP knows when it reports.
struct Observation {
  std::vector<HeardRadio> radios;
  std::vector<HeardStation> stations;  // in the order of their association ids
};

enum class Deed {
  join,
  leave,
  kick,
  block,
  release,
  release_all,
  power_down,
  power_up,
  filter,
  restart,
  firmware_offer,
  firmware_done
};
const char* name_of(Deed deed);

/// Something that happened to an AP, or to a station at an AP.
struct Occurrence {
  int minute = 0;
  Deed deed = Deed::join;
  int ap = 0;
  int station = -1;  // -1: the AP itself
};

/// A station has moved to another AP, or has none any more (-1).
struct Change {
  int minute = 0;
  int station = 0;
  int ap = -1;
};

class World {
 public:
  explicit World(Scenario scenario);

  const Scenario& scenario() const { return scenario_; }
  const std::vector<AccessPoint>& aps() const { return aps_; }
  const std::vector<Station>& stations() const { return stations_; }
  const std::vector<ForeignRadio>& foreign() const { return foreign_; }
  const std::vector<Occurrence>& occurrences() const { return occurrences_; }
  const std::vector<Change>& changes() const { return changes_; }
  int minute() const { return minute_; }

  /// A minute passes: people come, walk and go, their stations roam and fall idle.
  void pass_minute();

  void bring_up(int ap);
  /// Stations without an AP look for one.
  void look_for_aps();
  /// Takes the AP down; its stations look for another. What it was told is forgotten.
  void take_down(int ap, Deed why);
  void install(int ap, const std::string& version, int back_in_minutes);

  /// What the AP hears now; it measures with a decibel or so of error.
  Observation observe(int ap);

  /// The AP does what it was told, and its stations react. A reboot or a firmware file is the
  /// caller's business.
  void obey(int ap, const Command& command);

  /// Notes a deed that the world does not see by itself.
  void note(Deed deed, int ap, int station = -1);

  /// Stations of the AP, in one band.
  int clients(int ap, Band band) const;
  int clients(int ap) const { return clients(ap, Band::two_ghz) + clients(ap, Band::five_ghz); }

  /// Whether one of two APs can hear the other, at full power.
  bool neighbours(int one, int other) const;

 private:
  void settle(int crowd_number, const Crowd& crowd, int room);
  void walk_to(Station& station, Point seat, int room);
  static void walk(Station& station);
  Point seat_in(int room);
  void use(Station& station, int ap);
  void associate(Station& station);
  void release(int ap, const std::string& station_mac);
  void release_all(const AccessPoint& here);
  void send_away(int ap, const std::string& station_mac, Deed deed);
  void obey_power(AccessPoint& here, int direction);
  void obey_filter(AccessPoint& here, const Command& command);
  Station* find_station(const std::string& mac);
  int index_of(const Station& station) const {
    return static_cast<int>(&station - stations_.data());
  }

  Scenario scenario_;
  Random life_;  // where people go and what they do, whatever the APs do
  Random air_;   // errors of measuring and the like
  int minute_ = 0;
  std::vector<AccessPoint> aps_;
  std::vector<Station> stations_;
  std::vector<ForeignRadio> foreign_;
  std::vector<Occurrence> occurrences_;
  std::vector<Change> changes_;
};

}  // namespace lab
