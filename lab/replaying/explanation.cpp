#include "replaying/explanation.h"

#include <algorithm>
#include <regex>

#include "ini/ini_file.h"
#include "show/explanation.h"
#include "steering/limits.h"

namespace lab {

namespace {

/// The value of `key` for the station, as a number; 0 when the report has none.
int reported(const Sections& report, const std::string& mac, const char* key) {
  for (const auto& [section, keys] : report) {
    const auto address = keys.find("addr");
    if (section.find(" client ") != std::string::npos && address != keys.end() &&
        equal_ignoring_case(address->second, mac)) {
      const auto value = keys.find(key);
      return value == keys.end() ? 0 : static_cast<int>(number_in(value->second).value_or(0));
    }
  }
  return 0;
}

/// What the trace says, gathered in one walk.
struct Story {
  Findings found;
  int sightings = 0;  // of radios of other managed APs
  int new_stations = 0;
  std::string problem;  // why the report was not loaded
};

int whole(const std::string& digits) {
  return static_cast<int>(number_in(digits).value_or(0));
}

/// What the lines of the load-balancing pass say.
void read_pass(const std::string& operation, const std::string& message, Findings& found) {
  static const std::regex kNeighbour(R"(\(2/2\) Amount:(-?\d+), Count:\d+)");
  static const std::regex kKept(R"( *Found client (\S+) in .*\(AP_0*(\d+)\))");
  static const std::regex kSsid(R"(\(2/2\) SELECT .*`essid`='((?:[^'\\]|\\.)*)'.*)");
  std::smatch match;
  if (operation == "get_ap_client_amount" && message.starts_with("amount:") && !found.amount) {
    found.amount = whole(message.substr(7));
    if (*found.amount > limits::kClientQuota) {
      found.demand.emplace(*found.amount);
    }
  } else if (found.demand && std::regex_match(message, match, kNeighbour)) {
    found.neighbours.push_back({0, whole(match[1])});
    found.demand->add_neighbour(whole(match[1]));
  } else if (std::regex_match(message, match, kKept)) {
    found.blocks.push_back({0, match[1], whole(match[2])});
  } else if (operation.starts_with("ap_release_s") && std::regex_match(message, match, kSsid)) {
    found.lost_ssid = match[1];
    found.is_heard_by_nobody = operation == "ap_release_ssid_rule";
  } else if (operation == "ap_load_balance_rule" && message.find("==>") != std::string::npos) {
    found.release_all = true;
  }
}

Story read_trace(const std::vector<kit::TraceLine>& trace) {
  Story story;
  for (const auto& [operation, message] : trace) {
    if (operation == "update_ap_legal_table_for_refer" && message.starts_with("(2/2)")) {
      ++story.sightings;
    } else if (operation == "update_ap_client_db" && message.starts_with("INSERT")) {
      ++story.new_stations;
    } else if (operation == "isWeakness" && message.starts_with("(2/2)")) {
      story.found.hearing.emplace().at_all = true;
    } else if (operation == "report_load") {
      story.problem = message;
    } else {
      read_pass(operation, message, story.found);
    }
  }
  return story;
}

/// What the commands say of the decisions.
void read_command(const Command& command, const Sections& report, Findings& found) {
  for (const std::string& mac : command.release) {
    found.blocks.push_back({0, mac, 0});
  }
  for (const std::string& mac : command.kick) {
    found.kicks.push_back({mac, reported(report, mac, "idle")});
  }
  for (const std::string& mac : command.block) {
    found.candidates.push_back({mac, reported(report, mac, "rssi"), 0, Findings::Fate::refused});
  }
  if (command.auto_rf == 0) {
    found.hearing.reset();
  } else if (command.type != kReleaseAll) {
    const bool is_heard = found.hearing || command.auto_rf;
    found.hearing = Hearing{command.auto_rf == -1, is_heard, command.auto_rf == 1};
  }
}

}  // namespace

Sections sections_of(const std::string& text, std::string& complaint) {
  Sections sections;
  if (const std::optional<IniFile> file = IniFile::parse(text, "the file", complaint)) {
    file->for_each([&](std::string_view section, std::string_view key, std::string_view value) {
      sections[std::string(section)][std::string(key)] = value;
    });
  }
  return sections;
}

Words explain(const Sections& report, const std::vector<kit::TraceLine>& trace,
              const std::vector<Command>& commands, const std::map<int, std::string>& names) {
  Story story = read_trace(trace);
  if (!story.problem.empty()) {
    return lines_of(story.problem + "; nothing of it was stored");
  }
  const auto count = [&](auto&& is_meant) {
    return static_cast<int>(std::count_if(report.begin(), report.end(), is_meant));
  };
  const int stations = count([](const auto& section) {
    return section.first.find(" client ") != std::string::npos &&
           section.first.find("mesh") == std::string::npos && section.second.contains("addr");
  });
  const int cells = count([](const auto& section) { return section.first.starts_with("cell "); });
  Words lines{format("%d stations, %d of them new; %d radios heard, %d of them of ours", stations,
                     story.new_stations, cells, story.sightings)};
  for (const Command& command : commands) {
    read_command(command, report, story.found);
  }
  const Words decisions = show::explain(story.found, names);
  lines.insert(lines.end(), decisions.begin(), decisions.end());
  for (const Command& command : commands) {
    if (command.type == kReleaseAll) {
      lines.emplace_back("command: release all blocks");
    } else if (command.filter_mode.value_or(0) != 0) {
      lines.push_back(format("MAC filter in mode %d with %zu addresses: blocks are lifted",
                             *command.filter_mode, command.filter_addresses.size()));
    }
  }
  if (commands.empty()) {
    lines.push_back("no command");
  }
  return lines;
}

}  // namespace lab
