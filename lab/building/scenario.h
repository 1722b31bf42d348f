#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "building/radio.h"

// A scenario file: what a building is made of and what happens in it. lab/scenarios/README.md
// describes the format.

namespace lab {

struct Room {
  std::string name;
  Point corner;  // upper left
  double width = 0;
  double height = 0;
  Point door;
};

struct ApPlan {
  std::string name;
  Point at;
  int channel[2] = {1, 36};
  bool fetches = true;  // fetches firmware by itself; else the update tool brings it
  bool starts_up = true;
  std::set<int> slots = {};  // of the SSIDs that it carries; empty: all

  bool carries(int slot) const { return slots.empty() || slots.contains(slot); }
};

/// A radio that no managed AP owns.
struct ForeignPlan {
  std::string name;
  Point at;
  int channel = 1;
  double power = 20;         // dBm
  std::string ssid;          // 0 to 32 bytes, any
  bool random_ssid = false;  // 32 random bytes, in place of `ssid`
};

/// People who do the same; each carries one station.
struct Crowd {
  std::string name;
  int people = 0;
  int room = 0;                 // index in Scenario::rooms, or kEveryRoom
  int arrive[2] = {1, 1};       // minutes, first and last
  int leave[2] = {9999, 9999};  // likewise
  int ssid = 1;                 // slot, from 1
  double wander = 0;            // chance to walk to another room, each minute
};
inline constexpr int kEveryRoom = -1;  // so many people in each room

/// Something that the administrator, or fate, does to an AP.
struct Happening {
  int minute = 0;
  std::string verb;     // leave, join, reboot, firmware, filter, setting
  std::string value;    // firmware: the version; filter: mode and number of stations
  std::string subject;  // the AP's name, or "all"
};

struct Scenario {
  std::string title;
  std::string about;
  std::uint64_t seed = 1;
  int minutes = 30;
  double width = 40;  // metres
  double height = 30;
  Point entrance;
  std::vector<std::string> ssids;  // slot 1 first
  std::map<int, std::string> settings;
  Air air;
  double power[2] = {20, 23};          // dBm of an AP at full power
  std::vector<std::string> materials;  // of each wall, for the drawing
  std::vector<Room> rooms;
  std::vector<ApPlan> aps;
  std::vector<ForeignPlan> foreign;
  std::vector<Crowd> crowds;
  std::vector<Happening> happenings;  // in the order of the file
};

/// Reads a scenario from the text of its file. A line that cannot be understood is described in
/// `problem`, which stays empty when all is well.
Scenario parse_scenario(const std::string& text, std::string& problem);

}  // namespace lab
