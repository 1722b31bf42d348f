// lab-replay: plays saved report files against the program, inside lab/appliance. See lab/replay.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <regex>

#include "building/controller.h"
#include "building/database.h"
#include "kit/command_line.h"
#include "kit/files.h"
#include "replaying/explanation.h"
#include "values/paths.h"

namespace fs = std::filesystem;

namespace {

struct SavedReport {
  std::string name;
  std::string text;
  std::string mac;
  lab::Sections sections;
};

struct KnownAp {
  std::string mac;
  std::string ip;
  std::string name;  // of the first file from it
};

class Replay {
 public:
  Replay(const std::string& directory, const std::string& settings);
  bool empty() const { return reports_.empty(); }
  void run(int rounds);

 private:
  void read(const std::string& directory);
  void make_profiles(const std::string& settings);
  void register_aps();
  std::string slots_of(const SavedReport& report, const char* prefix) const;
  std::vector<lab::Command> deliver(const SavedReport& report);
  void show(const SavedReport& report, std::size_t number);

  lab::Controller controller_{1};
  std::vector<SavedReport> reports_;  // in the order of their names
  std::vector<KnownAp> aps_;          // by serial number, from 1
  std::vector<std::string> ssids_;    // by profile number, from 1
};

Replay::Replay(const std::string& directory, const std::string& settings) {
  read(directory);
  make_profiles(settings);
  register_aps();
}

void Replay::read(const std::string& directory) {
  static const std::regex kMac("([0-9A-Fa-f]{2}:){5}[0-9A-Fa-f]{2}");
  std::vector<fs::path> paths;
  for (const auto& entry : fs::recursive_directory_iterator(directory)) {
    if (entry.is_regular_file()) {
      paths.push_back(entry.path());
    }
  }
  std::sort(paths.begin(), paths.end());
  for (const fs::path& path : paths) {
    SavedReport report{path.lexically_relative(directory), kit::content(path), "", {}};
    std::string problem;
    report.sections = lab::sections_of(report.text, problem);
    report.mac = report.sections["00"]["mac"];
    if (!std::regex_match(report.mac, kMac)) {
      problem = problem.substr(0, problem.find(":\n"));  // of several the first
      std::printf("%s is left out: %s\n", report.name.c_str(),
                  problem.empty() ? "no section 00 with the AP's MAC" : problem.c_str());
      continue;
    }
    const bool known = std::any_of(aps_.begin(), aps_.end(),
                                   [&](const KnownAp& ap) { return ap.mac == report.mac; });
    if (!known) {
      const auto number = static_cast<int>(aps_.size()) + 1;
      aps_.push_back(
          {report.mac, lab::format("192.0.%d.%d", 2 + number / 250, number % 250), report.name});
    }
    reports_.push_back(report);
  }
}

void Replay::make_profiles(const std::string& settings) {
  for (const SavedReport& report : reports_) {
    for (const auto& [section, keys] : report.sections) {
      const auto ssid = keys.find("essid");
      const bool own = section.size() == 2 || section.starts_with("5g_0");
      if (own && ssid != keys.end() &&
          std::find(ssids_.begin(), ssids_.end(), ssid->second) == ssids_.end()) {
        ssids_.push_back(ssid->second);
      }
    }
  }
  lab::set_up_appliance(ssids_, settings);
}

/// The profile numbers of a band's SSID slots, as the registry wants them.
std::string Replay::slots_of(const SavedReport& report, const char* prefix) const {
  std::string list;
  for (int slot = 1; slot <= 8; ++slot) {
    const auto section = report.sections.find(lab::format("%s%02d", prefix, slot));
    if (section == report.sections.end() || !section->second.contains("essid")) {
      break;
    }
    const auto ssid = std::find(ssids_.begin(), ssids_.end(), section->second.at("essid"));
    list += lab::format("%s%d", slot == 1 ? "" : ",", static_cast<int>(ssid - ssids_.begin()) + 1);
  }
  return list;
}

void Replay::register_aps() {
  fs::create_directories(paths::kTraces);
  for (const KnownAp& ap : aps_) {
    controller_.connect(ap.mac);
    controller_.run({{{"ap-up", ap.ip, ap.mac}, 0}}, 0);
    const auto first = std::find_if(reports_.begin(), reports_.end(),
                                    [&](const auto& report) { return report.mac == ap.mac; });
    lab::query(
        lab::format("UPDATE AP_INFO.ap_list SET pf_id='%s', 5G_pf_id='%s' WHERE MAC=UPPER(%s)",
                    slots_of(*first, "").c_str(), slots_of(*first, "5g_").c_str(),
                    kit::sql_literal(ap.mac).c_str()));
  }
  controller_.deliveries();
}

std::vector<lab::Command> Replay::deliver(const SavedReport& report) {
  const auto ap = std::find_if(aps_.begin(), aps_.end(),
                               [&](const KnownAp& known) { return known.mac == report.mac; });
  const std::string path = std::string(paths::kReports) + "/replayed.ini";
  kit::write_file(path, report.text);
  controller_.run({{{"ap-command", "1", path, ap->ip, ap->mac}, 0}}, 0);
  std::vector<lab::Command> commands;
  for (const lab::Delivery& delivery : controller_.deliveries()) {
    commands.push_back(lab::parse_command(delivery.text));
  }
  return commands;
}

void Replay::show(const SavedReport& report, std::size_t number) {
  const std::string trace = std::string(paths::kTraces) + "/" + report.mac;
  kit::write_file(trace, "");
  const std::vector<lab::Command> commands = deliver(report);
  std::map<int, std::string> names;
  for (const KnownAp& ap : aps_) {
    names[static_cast<int>(names.size()) + 1] = ap.mac + " (" + ap.name + ")";
  }
  std::printf("\n%zu of %zu  %s, AP %s\n", number, reports_.size(), report.name.c_str(),
              report.mac.c_str());
  for (const std::string& line :
       lab::explain(report.sections, kit::trace_lines(kit::content(trace)), commands, names)) {
    std::printf("    %s\n", line.c_str());
  }
  std::fflush(stdout);
  fs::remove(trace);
}

void Replay::run(int rounds) {
  // A single report of each AP says little: at the first round the APs do not know each other yet.
  const int silent = rounds > 0 ? rounds - 1 : reports_.size() == aps_.size() ? 1 : 0;
  std::printf("Reports: %zu, APs: %zu%s\n", reports_.size(), aps_.size(),
              silent > 0 ? "; shown is the last round, when the APs know each other" : "");
  for (int round = 0; round < silent; ++round) {
    for (const SavedReport& report : reports_) {
      deliver(report);
    }
  }
  for (std::size_t i = 0; i < reports_.size(); ++i) {
    show(reports_[i], i + 1);
  }
}

}  // namespace

int main(int argc, char** argv) try {
  std::string directory;
  std::vector<std::string> assignments;
  int rounds = 0;
  CLI::App app(
      "Plays the report files in DIR, in the order of their names, against the program and a fresh "
      "database in the private appliance, and tells of each what was decided and why. The files are "
      "copied; nothing outside is touched. An AP is known by the MAC in section 00 of its reports, "
      "gets an invented address, and the SSIDs of its own radios become the profiles. If there is "
      "one report of each AP, all are played twice, so that the APs know each other in the round "
      "that is shown.",
      "lab/replay");
  app.footer("Example:\n  lab/replay --set 91=0 lab/reports");
  app.add_option("DIR", directory)->required()->check(CLI::ExistingDirectory);
  app.add_option("--rounds", rounds, "play all files so many times and show the last")
      ->check(CLI::Range(1, 1000));
  app.add_option(
         "--set", assignments,
         "NUMBER=VALUE: a setting of the program (79=1 and 91=1, load balancing and auto-RF "
         "on)")
      ->allow_extra_args(false)
      ->check([](const std::string& text) {
        static const std::regex kAssignment("[0-9]+=.*");
        return std::regex_match(text, kAssignment) ? "" : text + " is not NUMBER=VALUE";
      });
  if (const std::optional<int> end = kit::read_command_line(app, argc, argv)) {
    return *end;
  }
  std::map<std::string, std::string> settings{{"79", "1"}, {"91", "1"}};
  for (const std::string& assignment : assignments) {
    const std::size_t equals = assignment.find('=');
    settings[assignment.substr(0, equals)] = assignment.substr(equals + 1);
  }
  std::string lines;
  for (const auto& [number, value] : settings) {
    lines.append(number).append(" = ").append(value).append("\n");
  }
  Replay replay(directory, lines);
  if (replay.empty()) {
    std::fputs("lab-replay: no report in that directory\n", stderr);
    return 1;
  }
  replay.run(rounds);
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "lab-replay: %s\n", error.what());
  return 1;
}
