#include "building/unsteered.h"

#include <algorithm>

#include "building/world.h"

namespace lab {

std::vector<std::vector<int>> clients_unsteered(const Scenario& scenario) {
  World world(scenario);
  std::vector<std::vector<int>> minutes;
  for (int minute = 1; minute <= scenario.minutes; ++minute) {
    world.pass_minute();
    for (const AccessPoint& ap : world.aps()) {
      const auto told = [&](const char* verb) {
        return std::any_of(scenario.happenings.begin(), scenario.happenings.end(),
                           [&](const Happening& one) {
                             return one.minute == minute && one.verb == verb &&
                                    (one.subject == ap.plan.name || one.subject == "all");
                           });
      };
      if (!ap.up && ((minute == 1 && ap.plan.starts_up) || told("join"))) {
        world.bring_up(ap.number);
      } else if (ap.up && told("leave")) {
        world.take_down(ap.number, Deed::leave);
      }
    }
    world.look_for_aps();
    std::vector<int>& clients = minutes.emplace_back(world.aps().size());
    for (const Station& station : world.stations()) {
      if (station.ap >= 0) {
        ++clients[static_cast<std::size_t>(station.ap)];
      }
    }
  }
  return minutes;
}

}  // namespace lab
