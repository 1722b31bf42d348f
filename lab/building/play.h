#pragma once

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "building/controller.h"
#include "building/world.h"

// A scenario played from its first minute to its last: the building on one side, the hooks on the
// other, and the controller between them. In a simulated minute every AP reports once; it takes as
// long as the hooks take.
//
// Reports go out in waves. APs that can hear each other, and so have a say in each other's
// decisions, are never in the same wave, and what a wave is told is obeyed before the next: the
// outcome does not depend on which of two processes was quicker.

namespace lab {

/// How things stood at the end of a minute.
struct Sample {
  struct Ap {
    bool up = false;
    int clients[2] = {0, 0};  // by band
    int power = 0;            // dBm at 2.4 GHz
    int refused = 0;
  };
  struct Person {
    Point at;
    int ap = -1;  // -1: in the building without an AP, -2: not in the building
    bool five_ghz = false;
    int rate = 0;  // Mb/s of its link
  };
  std::vector<Ap> aps;
  std::vector<Person> people;
};

class Play {
 public:
  Play(Scenario scenario, int parallel);

  /// Has the controller record what it starts (Controller::record_to).
  void record_to(const std::string& directory) { controller_.record_to(directory); }

  /// Plays it; `watch` is called after each minute.
  void run(const std::function<void(const Play&)>& watch);

  const World& world() const { return world_; }
  const Controller& controller() const { return controller_; }
  const std::vector<Sample>& samples() const { return samples_; }
  /// What each AP reported last.
  const std::map<int, Observation>& last_reports() const { return reported_; }
  double average_neighbours() const;

 private:
  const AccessPoint& ap(int number) const { return world_.aps()[static_cast<std::size_t>(number)]; }
  void write_settings();
  void plan_waves();
  void join(const std::vector<int>& aps);
  void leave(int number, Deed why);
  void happen(const Happening& happening);
  void filter(const Words& words);
  void offer_firmware(int number, const std::string& version);
  void install(int number, const std::string& image);
  void run_update_tool();
  void deliver();
  void report_round();
  void take_sample();
  std::vector<int> named(const std::string& subject) const;

  World world_;
  Controller controller_;
  std::map<int, std::string> settings_;
  std::map<int, std::string> images_;  // offered to an AP, not yet running there
  std::size_t tool_calls_ = 0;         // of the update tool, seen so far
  std::vector<std::vector<int>> waves_;
  std::map<int, Observation> reported_;
  std::vector<Sample> samples_;
};

}  // namespace lab
