#include "replaying/explanation.h"
#include "steering/limits.h"

#include <algorithm>
#include <cctype>
#include <regex>

namespace lab {

namespace {

using limits::kAutoRfSignal;
using limits::kClientQuota;

std::string lower(std::string_view text) {
  std::string small(text);
  for (char& letter : small) {
    letter = static_cast<char>(std::tolower(static_cast<unsigned char>(letter)));
  }
  return small;
}

/// A station of the report, by its MAC in lower case.
struct Reported {
  std::string quality;
  std::string idle;
  std::string channel;
};

std::map<std::string, Reported> stations_of(const Sections& report) {
  std::map<std::string, Reported> stations;
  for (const auto& [section, keys] : report) {
    const auto mac = keys.find("addr");
    if (section.find(" client ") == std::string::npos || mac == keys.end() ||
        section.find("mesh") != std::string::npos) {
      continue;
    }
    const auto value = [&keys = keys](const char* key) {
      const auto found = keys.find(key);
      return found == keys.end() ? "?" : found->second;
    };
    stations[lower(mac->second)] = {value("rssi"), value("idle"), value("chan")};
  }
  return stations;
}

std::string name_of_ap(const std::map<int, std::string>& names, const std::string& serial) {
  const auto found = names.find(static_cast<int>(number_in(serial).value_or(0)));
  return found == names.end() ? "AP_" + serial : found->second;
}

/// What the trace says, gathered in one walk.
struct Findings {
  int sightings = 0;  // of radios of other managed APs
  int new_stations = 0;
  int amount = -1;                                        // clients; -1: not asked for
  std::vector<std::string> neighbours;                    // clients of each
  std::string room;                                       // free room among them, in all
  Words formula;                                          // the even share, when one was needed
  std::vector<std::pair<std::string, std::string>> kept;  // station, serial number of its AP
  std::string release_rule;  // the last that was asked before all blocks were lifted
  bool one_client = false;
  bool released_all = false;
  std::string problem;  // why the report was not loaded
};

Findings read_trace(const std::vector<kit::TraceLine>& trace) {
  static const std::regex kNeighbour(R"(\(2/2\) Amount:(-?\d+), Count:(\d+))");
  static const std::regex kFound(R"( *Found client (\S+) in .*\(AP_0*(\d+)\))");
  Findings found;
  for (const auto& [operation, message] : trace) {
    std::smatch match;
    if (operation == "update_ap_legal_table_for_refer" && message.starts_with("(2/2)")) {
      ++found.sightings;
    } else if (operation == "update_ap_client_db" && message.starts_with("INSERT")) {
      ++found.new_stations;
    } else if (operation == "get_ap_client_amount" && message.starts_with("amount:") &&
               found.amount < 0) {
      found.amount = static_cast<int>(number_in(message.substr(7)).value_or(0));
    } else if (operation == "get_available_demand" &&
               std::regex_match(message, match, kNeighbour)) {
      found.neighbours.push_back(match[1]);
      found.room = match[2];
    } else if (operation == "get_available_demand" && message.find('=') != std::string::npos &&
               message.starts_with("(2/2)")) {
      found.formula.push_back(message.substr(6));
    } else if (std::regex_match(message, match, kFound)) {
      found.kept.emplace_back(match[1], match[2]);
    } else if (operation.starts_with("ap_release_s") && message.starts_with("(2/2) SELECT")) {
      found.release_rule = operation;
    } else if (operation == "ap_load_balance_rule" && message.find("==>") != std::string::npos) {
      found.released_all = true;
      found.one_client = message.find("amount:") != std::string::npos;
    } else if (operation == "report_load") {
      found.problem = message;
    }
  }
  return found;
}

void explain_load(const Findings& found, Words& lines) {
  if (found.amount < 0) {
    lines.push_back("load balancing was not asked");
    return;
  }
  std::string line = format("serves %d", found.amount);
  if (found.amount <= kClientQuota) {
    lines.push_back(line + format(": not more than %d, nobody has to go", kClientQuota));
    return;
  }
  line += format(", %d above %d; ", found.amount - kClientQuota, kClientQuota);
  if (found.neighbours.empty()) {
    lines.push_back(line + "it hears no AP that could take some");
    return;
  }
  std::string served;
  for (const std::string& clients : found.neighbours) {
    served += (served.empty() ? "" : ", ") + clients;
  }
  lines.push_back(line + "the APs it hears serve " + served + " and have room for " + found.room);
  if (found.formula.empty()) {
    lines.push_back(format("enough room: up to %d may move", found.amount - kClientQuota));
  }
  for (const std::string& formula : found.formula) {
    lines.push_back("  " + formula);
  }
}

void explain_steering(const std::map<std::string, Reported>& stations, const Command& command,
                      Words& lines) {
  const auto figures = [&](const std::string& mac) {
    const auto known = stations.find(lower(mac));
    return known == stations.end() ? Reported{"?", "?", "?"} : known->second;
  };
  for (const std::string& mac : command.release) {
    lines.push_back("release " + mac + ": no AP heard on its SSID serves it any more");
  }
  for (const std::string& mac : command.kick) {
    lines.push_back("kick    " + mac + ": idle for " + figures(mac).idle +
                    format(" s, more than %d", limits::kIdle));
  }
  for (const std::string& mac : command.block) {
    const Reported station = figures(mac);
    lines.push_back("block   " + mac + ": RSSI " + station.quality +
                    format(", above %d, on channel %s; another AP is heard above %d dBm on its "
                           "SSID and band",
                           limits::kLink, station.channel.c_str(), limits::kNeighbourSignal));
  }
}

void explain_command(const Command& command, Words& lines) {
  if (command.type == kReleaseAll) {
    lines.push_back("command: release all blocks");
    return;
  }
  if (!command.auto_rf) {
    lines.push_back(format("power stays: nobody hears it, or exactly at %d dBm", kAutoRfSignal));
  } else {
    lines.push_back(
        *command.auto_rf == 0 ? "auto-RF is off"
        : *command.auto_rf < 0
            ? format("power down: another AP hears it above %d dBm", kAutoRfSignal)
            : format("power up: the APs that hear it do so below %d dBm", kAutoRfSignal));
  }
  if (command.filter_mode.value_or(0) != 0) {
    lines.push_back(format("MAC filter in mode %d with %zu addresses: blocks are lifted",
                           *command.filter_mode, command.filter_addresses.size()));
  }
}

}  // namespace

Sections sections_of(const std::string& text) {
  Sections sections;
  std::string section;
  for (const std::string& line : lines_of(text)) {
    const std::string_view content = trimmed(line);
    const std::size_t equals = content.find('=');
    if (content.starts_with('[')) {
      section = lower(content.substr(1, content.find(']') - 1));
    } else if (!content.starts_with(';') && equals != std::string_view::npos) {
      std::string_view value = trimmed(content.substr(equals + 1));
      if (value.size() > 1 && value.front() == '"' && value.back() == '"') {
        value = value.substr(1, value.size() - 2);
      }
      sections[section][lower(trimmed(content.substr(0, equals)))] = value;
    }
  }
  return sections;
}

Words explain(const Sections& report, const std::vector<kit::TraceLine>& trace,
              const std::vector<Command>& commands, const std::map<int, std::string>& names) {
  const Findings found = read_trace(trace);
  if (!found.problem.empty()) {
    return lines_of(found.problem + "; nothing of it was stored");
  }
  const std::map<std::string, Reported> stations = stations_of(report);
  const auto cells = std::count_if(report.begin(), report.end(), [](const auto& section) {
    return section.first.starts_with("cell ");
  });
  Words lines;
  lines.push_back(format("%zu stations, %d of them new; %d radios heard, %d of them of ours",
                         stations.size(), found.new_stations, static_cast<int>(cells),
                         found.sightings));
  explain_load(found, lines);
  for (const auto& [mac, serial] : found.kept) {
    lines.push_back("stays blocked: " + mac + " is now at " + name_of_ap(names, serial));
  }
  if (found.released_all) {
    lines.push_back(
        found.one_client ? "one client only: all its blocks are lifted"
        : found.release_rule == "ap_release_ssid_rule"
            ? "no AP hears it on an SSID for which it holds blocks: all are lifted"
            : format("it hears no AP above %d dBm on an SSID for which it holds blocks: all are "
                     "lifted",
                     limits::kKeepSignal));
  }
  for (const Command& command : commands) {
    explain_steering(stations, command, lines);
  }
  for (const Command& command : commands) {
    explain_command(command, lines);
  }
  if (commands.empty()) {
    lines.push_back("no command");
  }
  return lines;
}

}  // namespace lab
