#include "building/page.h"

#include <algorithm>
#include <cmath>

#include "building/unsteered.h"

namespace lab {

namespace {

constexpr std::string_view kMark = "/*DATA*/";
constexpr std::size_t kSlowest = 12;
constexpr double kMapColumns = 96;

/// A text for JSON within a script element. Bytes that are not printable ASCII are shown as \xHH:
/// nobody knows their encoding.
std::string quoted(std::string_view text) {
  std::string json = "\"";
  for (const char letter : text) {
    const auto byte = static_cast<unsigned char>(letter);
    if (letter == '"' || letter == '\\') {
      json += std::string("\\") + letter;
    } else if (byte < ' ' || byte > '~') {
      json += format("\\\\x%02X", byte);
    } else if (letter == '<' || letter == '&') {
      json += format("\\u%04x", byte);
    } else {
      json += letter;
    }
  }
  return json + "\"";
}

/// "[a,b,...]" of what `item` makes of each element.
template <class Range, class Item>
std::string array_of(const Range& range, const Item& item) {
  std::string json;
  for (const auto& element : range) {
    json += (json.empty() ? "[" : ",") + item(element);
  }
  return json.empty() ? "[]" : json + "]";
}

std::string point(Point at) {
  return format("%.1f,%.1f", at.x, at.y);
}

std::string building(const World& world) {
  const Scenario& scenario = world.scenario();
  std::size_t wall_number = 0;
  const auto wall = [&](const Wall& one) {
    return "[" + point(one.from) + "," + point(one.to) + "," +
           quoted(scenario.materials[wall_number++]) + "]";
  };
  const auto room = [](const Room& one) {
    return "[" + quoted(one.name) + "," + point(one.corner) +
           format(",%.1f,%.1f]", one.width, one.height);
  };
  const auto ap = [](const AccessPoint& one) {
    return "[" + quoted(one.plan.name) + "," + point(one.plan.at) +
           format(",%d,%d,", one.plan.channel[0], one.plan.channel[1]) + quoted(one.mac) + "," +
           quoted(one.version) + "]";
  };
  const auto foreign = [](const ForeignRadio& one) {
    return "[" + quoted(one.plan.name) + "," + point(one.plan.at) +
           format(",%d,", one.plan.channel) + quoted(one.plan.ssid) + "]";
  };
  const auto crowd = [](const Crowd& one) {
    return format("[%s,%d]", quoted(one.name).c_str(), one.people);
  };
  return "\"title\":" + quoted(scenario.title) + ",\"about\":" + quoted(scenario.about) +
         format(R"(,"seed":%llu,"minutes":%d,"width":%.1f,"height":%.1f,)",
                static_cast<unsigned long long>(scenario.seed), scenario.minutes, scenario.width,
                scenario.height) +
         "\"walls\":" + array_of(scenario.air.walls, wall) +
         ",\"rooms\":" + array_of(scenario.rooms, room) + ",\"aps\":" + array_of(world.aps(), ap) +
         ",\"foreign\":" + array_of(world.foreign(), foreign) +
         ",\"crowds\":" + array_of(scenario.crowds, crowd);
}

std::string samples(const Play& play) {
  const auto sample = [](const Sample& one) {
    return "{\"aps\":" +
           array_of(one.aps,
                    [](const Sample::Ap& ap) {
                      return format("[%d,%d,%d,%d,%d]", ap.up ? 1 : 0, ap.clients[0], ap.clients[1],
                                    ap.power, ap.refused);
                    }) +
           ",\"people\":" +
           array_of(one.people,
                    [](const Sample::Person& person) {
                      return person.ap == -2
                                 ? std::string("0")
                                 : "[" + point(person.at) +
                                       format(",%d,%d]", person.ap, person.five_ghz ? 1 : 0);
                    }) +
           "}";
  };
  return ",\"samples\":" + array_of(play.samples(), sample);
}

/// Best level in each square of a grid: a letter a square, "A" for -30 dBm and a letter more for
/// every 2 dB less; "~" where nothing is heard.
std::string signal_map(const World& world, Band band) {
  const Scenario& scenario = world.scenario();
  const double square = std::max(0.5, scenario.width / kMapColumns);
  std::string rows;
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
    rows += (rows.empty() ? "" : ",") + quoted(row);
  }
  return format(R"({"square":%.3f,"rows":[)", square) + rows + "]}";
}

std::string hooks(const std::vector<HookRun>& runs) {
  std::map<std::string, std::vector<double>> by_name;
  for (const HookRun& run : runs) {
    by_name[run.name].push_back(run.milliseconds);
  }
  std::string kinds;
  for (auto& [name, times] : by_name) {
    std::sort(times.begin(), times.end());
    kinds += (kinds.empty() ? "[" : ",[") + quoted(name) +
             format(",%zu,%.2f,%.2f,%.2f]", times.size(), times[times.size() / 2],
                    times[times.size() * 95 / 100], times.back());
  }
  std::vector<HookRun> slowest(runs);
  std::sort(slowest.begin(), slowest.end(),
            [](const HookRun& a, const HookRun& b) { return a.milliseconds > b.milliseconds; });
  slowest.resize(std::min(slowest.size(), kSlowest));
  return ",\"hookKinds\":[" + kinds + "],\"slowest\":" + array_of(slowest, [](const HookRun& run) {
           return "[" + quoted(run.name) +
                  format(",%d,%d,%.2f,%.2f,%d]", run.ap, run.minute, run.milliseconds,
                         run.processor, run.peak_kib);
         });
}

}  // namespace

std::string page_of(const Play& play, const std::vector<Agreement>& agreements,
                    const std::string& page_template) {
  const World& world = play.world();
  std::string data = "{" + building(world) + samples(play) + hooks(play.controller().runs());
  data += ",\"maps\":[" + signal_map(world, Band::two_ghz) + "," +
          signal_map(world, Band::five_ghz) + "]";
  data += ",\"unsteered\":" +
          array_of(clients_unsteered(world.scenario()), [](const std::vector<int>& clients) {
            return array_of(clients, [](int number) { return std::to_string(number); });
          });
  data += ",\"events\":" + array_of(world.occurrences(), [](const Occurrence& one) {
            return format("[%d,\"%s\",%d,%d]", one.minute, name_of(one.deed), one.ap, one.station);
          });
  data += ",\"stations\":" +
          array_of(world.stations(), [](const Station& one) { return quoted(one.mac); });
  data += ",\"agreements\":" + array_of(agreements, [](const Agreement& one) {
            return "[" + quoted(one.what) + format(",%d,%zu]", one.compared, one.differing.size());
          });
  data += "}";
  std::string page = page_template;
  const std::size_t mark = page.find(kMark);
  return mark == std::string::npos ? page : page.replace(mark, kMark.size(), data);
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
