#include "building/page.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>

#include "building/figures.h"

namespace lab {

namespace {

using Json = nlohmann::json;

constexpr std::string_view kMark = "/*DATA*/";
constexpr std::size_t kSlowest = 12;
constexpr double kMapColumns = 96;

/// Bytes that are not printable ASCII are shown as \\xHH: nobody knows their encoding.
std::string shown(std::string_view text) {
  std::string result;
  for (const char letter : text) {
    const auto byte = static_cast<unsigned char>(letter);
    result += byte < ' ' || byte > '~' ? format("\\x%02X", byte) : std::string(1, letter);
  }
  return result;
}

double tenths(double number) {
  return std::round(number * 10) / 10;
}

template <class... Values>
Json array(const Values&... values) {
  return Json::array({Json(values)...});
}

/// What `item` makes of each element.
template <class Range, class Item>
Json array_of(const Range& range, const Item& item) {
  Json json = Json::array();
  for (const auto& element : range) {
    json.push_back(item(element));
  }
  return json;
}

Json building(const World& world) {
  const Scenario& scenario = world.scenario();
  std::size_t wall_number = 0;
  const auto wall = [&](const Wall& one) {
    return array(tenths(one.from.x), tenths(one.from.y), tenths(one.to.x), tenths(one.to.y),
                 shown(scenario.materials[wall_number++]));
  };
  const auto room = [](const Room& one) {
    return array(shown(one.name), tenths(one.corner.x), tenths(one.corner.y), tenths(one.width),
                 tenths(one.height));
  };
  const auto ap = [](const AccessPoint& one) {
    return array(shown(one.plan.name), tenths(one.plan.at.x), tenths(one.plan.at.y),
                 one.plan.channel[0], one.plan.channel[1], shown(one.mac), shown(one.version));
  };
  const auto foreign = [](const ForeignRadio& one) {
    return array(shown(one.plan.name), tenths(one.plan.at.x), tenths(one.plan.at.y),
                 one.plan.channel, shown(one.plan.ssid));
  };
  const auto crowd = [](const Crowd& one) { return array(shown(one.name), one.people); };
  return {{"title", shown(scenario.title)},
          {"about", shown(scenario.about)},
          {"seed", scenario.seed},
          {"minutes", scenario.minutes},
          {"width", tenths(scenario.width)},
          {"height", tenths(scenario.height)},
          {"walls", array_of(scenario.air.walls, wall)},
          {"rooms", array_of(scenario.rooms, room)},
          {"aps", array_of(world.aps(), ap)},
          {"foreign", array_of(world.foreign(), foreign)},
          {"crowds", array_of(scenario.crowds, crowd)}};
}

Json sample(const Sample& one) {
  const auto ap = [](const Sample::Ap& is) {
    return array(is.up ? 1 : 0, is.clients[0], is.clients[1], is.power, is.refused);
  };
  const auto person = [](const Sample::Person& is) {
    return is.ap == -2 ? Json(0)
                       : array(tenths(is.at.x), tenths(is.at.y), is.ap, is.five_ghz ? 1 : 0);
  };
  return {{"aps", array_of(one.aps, ap)}, {"people", array_of(one.people, person)}};
}

/// Stations of each AP.
Json clients(const Sample& one) {
  return array_of(one.aps, [](const Sample::Ap& is) { return is.clients[0] + is.clients[1]; });
}

/// Best level in each square of a grid: a letter a square, "A" for -30 dBm and a letter more for
/// every 2 dB less; "~" where nothing is heard.
Json signal_map(const World& world, Band band) {
  const Scenario& scenario = world.scenario();
  const double square = std::max(0.5, scenario.width / kMapColumns);
  Json rows = Json::array();
  for (int i = 0; (i + 0.5) * square < scenario.height; ++i) {
    std::string row;
    for (int j = 0; (j + 0.5) * square < scenario.width; ++j) {
      const Point middle{(j + 0.5) * square, (i + 0.5) * square};
      double best = -999;
      for (const AccessPoint& ap : world.aps()) {
        if (ap.up && distance(ap.plan.at, middle) < 150) {
          best = std::max(best,
                          level(band, ap.power[number_of(band)], ap.plan.at, middle, scenario.air));
        }
      }
      row += best < kFaintest ? '~'
                              : static_cast<char>('A' + std::lround(std::max(0.0, -30 - best) / 2));
    }
    rows.push_back(row);
  }
  return {{"square", square}, {"rows", rows}};
}

double hundredths(double number) {
  return std::round(number * 100) / 100;
}

/// How often each hook ran and how long it took: the median, the 95th of a hundred, the longest.
Json hook_kinds(const std::vector<HookRun>& runs) {
  std::map<std::string, std::vector<double>> by_name;
  for (const HookRun& run : runs) {
    by_name[run.name].push_back(hundredths(run.milliseconds));
  }
  Json kinds = Json::array();
  for (auto& [name, times] : by_name) {
    std::sort(times.begin(), times.end());
    kinds.push_back(array(name, times.size(), times[times.size() / 2],
                          times[times.size() * 95 / 100], times.back()));
  }
  return kinds;
}

Json slowest(std::vector<HookRun> runs) {
  std::sort(runs.begin(), runs.end(),
            [](const HookRun& a, const HookRun& b) { return a.milliseconds > b.milliseconds; });
  runs.resize(std::min(runs.size(), kSlowest));
  return array_of(runs, [](const HookRun& run) {
    return array(run.name, run.ap, run.minute, hundredths(run.milliseconds),
                 hundredths(run.processor), run.peak_kib);
  });
}

/// The JSON for the inside of a script element: nothing in it can end the element.
std::string within_script(const Json& json) {
  std::string text = json.dump();
  for (std::size_t at = 0; (at = text.find('<', at)) != std::string::npos;) {
    text.replace(at, 1, "\\u003c");
  }
  return text;
}

}  // namespace

std::string page_of(const Play& play, const Play* unsteered,
                    const std::vector<Agreement>& agreements, const std::string& page_template) {
  const World& world = play.world();
  Json data = building(world);
  data["samples"] = array_of(play.samples(), sample);
  data["hookKinds"] = hook_kinds(play.controller().runs());
  data["slowest"] = slowest(play.controller().runs());
  data["maps"] = array(signal_map(world, Band::two_ghz), signal_map(world, Band::five_ghz));
  data["figures"] = array_of(figures_of(play, unsteered), [](const Figure& one) {
    return array(one.what, one.decimals, one.values);
  });
  data["unsteered"] = unsteered == nullptr ? Json() : array_of(unsteered->samples(), clients);
  data["events"] = array_of(world.occurrences(), [](const Occurrence& one) {
    return array(one.minute, name_of(one.deed), one.ap, one.station);
  });
  data["stations"] = array_of(world.stations(), [](const Station& one) { return shown(one.mac); });
  data["agreements"] = array_of(agreements, [](const Agreement& one) {
    return array(shown(one.what), one.compared, one.differing.size());
  });
  std::string page = page_template;
  const std::size_t mark = page.find(kMark);
  return mark == std::string::npos ? page : page.replace(mark, kMark.size(), within_script(data));
}

std::string log_of(const World& world) {
  std::string log;
  for (const Occurrence& one : world.occurrences()) {
    const auto& ap = world.aps()[static_cast<std::size_t>(one.ap)];
    log += format(
        "%d %s %s %s\n", one.minute, ap.plan.name.c_str(), name_of(one.deed),
        one.station < 0 ? "" : world.stations()[static_cast<std::size_t>(one.station)].mac.c_str());
  }
  return log;
}

}  // namespace lab
