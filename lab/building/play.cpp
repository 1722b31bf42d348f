#include "building/play.h"

#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <filesystem>

#include "building/database.h"
#include "building/report_text.h"
#include "kit/files.h"
#include "values/paths.h"

namespace fs = std::filesystem;

namespace lab {

namespace {

constexpr const char* kToolCalls = "/recorded/wum";
constexpr int kMinutesOfRestart = 2;
constexpr int kFilterMode = 135;  // number of the setting

}  // namespace

Play::Play(Scenario scenario, int parallel)
    : world_(std::move(scenario)), controller_(parallel), settings_(world_.scenario().settings) {
  write_settings();
  plan_waves();
}

void Play::write_settings() {
  std::string lines;
  for (const auto& [number, value] : settings_) {
    lines += format("%d = %s\n", number, value.c_str());
  }
  set_up_appliance(world_.scenario().ssids, lines);
}

void Play::plan_waves() {
  for (const AccessPoint& next : world_.aps()) {
    const auto fits = [&](const std::vector<int>& wave) {
      return std::none_of(wave.begin(), wave.end(),
                          [&](int other) { return world_.neighbours(next.number, other); });
    };
    auto wave = std::find_if(waves_.begin(), waves_.end(), fits);
    if (wave == waves_.end()) {
      wave = waves_.emplace(waves_.end());
    }
    wave->push_back(next.number);
  }
}

double Play::average_neighbours() const {
  double pairs = 0;
  for (const AccessPoint& one : world_.aps()) {
    for (const AccessPoint& other : world_.aps()) {
      pairs += one.number != other.number && world_.neighbours(one.number, other.number) ? 1 : 0;
    }
  }
  return pairs / static_cast<double>(world_.aps().size());
}

std::vector<int> Play::named(const std::string& subject) const {
  std::vector<int> found;
  for (const AccessPoint& candidate : world_.aps()) {
    if (subject == "all" || candidate.plan.name == subject) {
      found.push_back(candidate.number);
    }
  }
  return found;
}

void Play::join(const std::vector<int>& aps) {
  std::vector<Hook> hooks;
  for (const int number : aps) {
    if (ap(number).up) {
      continue;
    }
    const auto image = images_.find(number);
    if (image != images_.end()) {
      // The image is running: it is withdrawn, or the AP would be taken for one that still waits.
      fs::remove(std::string(paths::kDownloads) + "/" +
                 fs::path(image->second).filename().string());
      fs::remove(image->second);
      images_.erase(image);
      world_.note(Deed::firmware_done, number);
    }
    kit::write_file(std::string(paths::kCapabilities) + "/" + ap(number).mac,
                    capability_text(world_, ap(number)));
    world_.bring_up(number);
    controller_.connect(ap(number).mac);
    hooks.push_back({{"ap-up", ap(number).ip, ap(number).mac}, number});
  }
  world_.look_for_aps();
  controller_.run(hooks, world_.minute());
  deliver();
}

void Play::leave(int number, Deed why) {
  const int minutes = world_.minute() - ap(number).up_since;
  controller_.disconnect(ap(number).mac);
  world_.take_down(number, why);
  reported_.erase(number);
  // The program goes by the database's clock, to which all this takes a few seconds. So that it
  // sees an AP that has been there for so many minutes, its joining is dated back.
  const std::string statement =
      format("UPDATE AP_INFO.ap_list SET STime=NOW() - INTERVAL %d MINUTE WHERE MAC='%s'", minutes,
             ap(number).mac.c_str());
  query(statement);
  controller_.record({{"sql", statement}, number}, world_.minute());
  controller_.run({{{"ap-down", ap(number).mac}, number}}, world_.minute());
}

void Play::filter(const Words& words) {
  const auto mode = words.empty() ? 0 : number_in(words[0]).value_or(0);
  const auto amount = words.size() < 2 ? 0 : number_in(words[1]).value_or(0);
  std::string list;
  int listed = 0;
  for (const Station& station : world_.stations()) {
    if (station.inside && listed < amount) {
      list += format("%d %s\n", ++listed, station.mac.c_str());
    }
  }
  kit::write_file(paths::kMacFilterList, list);
  settings_[kFilterMode] = format("%.0f", mode);
  write_settings();
}

void Play::happen(const Happening& happening) {
  const Words words = words_of(happening.value);
  if (happening.verb == "filter") {
    filter(words);
  } else if (happening.verb == "setting" && words.size() == 2) {
    settings_[static_cast<int>(number_in(words[0]).value_or(0))] = words[1];
    write_settings();
  } else if (happening.verb == "join") {
    join(named(happening.subject));
  }
  for (const int number : named(happening.subject)) {
    if (!ap(number).up) {
      continue;
    }
    if (happening.verb == "leave") {
      leave(number, Deed::leave);
    } else if (happening.verb == "reboot") {
      controller_.run({{{"ap-command", "2", ap(number).mac}, number}}, world_.minute());
    } else if (happening.verb == "firmware") {
      offer_firmware(number, happening.value);
    }
  }
  deliver();
}

void Play::offer_firmware(int number, const std::string& version) {
  const std::string image = format("/firmware/%s-%d.bin", version.c_str(), number);
  kit::write_file(image, version);
  images_[number] = image;
  world_.note(Deed::firmware_offer, number);
  controller_.run({{{"ap-command", "3", image, ap(number).mac}, number}}, world_.minute());
  run_update_tool();
}

void Play::install(int number, const std::string& image) {
  const std::optional<std::string> version = kit::read_file(image);
  if (!version) {
    return;  // not there: the AP stays as it is
  }
  world_.install(number, *version, kMinutesOfRestart);
  leave(number, Deed::restart);
}

/// Does what the update tool was started for since the last look: "-c update -m MAC -f FILE".
void Play::run_update_tool() {
  const Words calls = lines_of(kit::content(kToolCalls));
  for (; tool_calls_ < calls.size(); ++tool_calls_) {
    const Words words = words_of(calls[tool_calls_]);
    if (words.size() < 6 || words[1] != "update" || words[4] != "-f") {
      continue;
    }
    for (const AccessPoint& candidate : world_.aps()) {
      if (candidate.mac == words[3] && candidate.up) {
        install(candidate.number, words[5]);
      }
    }
  }
}

void Play::deliver() {
  for (const Delivery& delivery : controller_.deliveries()) {
    const auto target =
        std::find_if(world_.aps().begin(), world_.aps().end(),
                     [&](const AccessPoint& known) { return known.mac == delivery.mac; });
    if (target == world_.aps().end() || !target->up) {
      continue;
    }
    const Command command = parse_command(delivery.text);
    if (command.type == kReboot) {
      world_.install(target->number, target->version, kMinutesOfRestart);
      leave(target->number, Deed::restart);
    } else if (!command.file.empty()) {
      install(target->number, std::string(paths::kDownloads) + "/" + command.file);
    } else {
      world_.obey(target->number, command);
    }
  }
}

void Play::report_round() {
  for (const std::vector<int>& wave : waves_) {
    std::vector<Hook> hooks;
    for (const int number : wave) {
      if (!ap(number).up) {
        continue;
      }
      reported_[number] = world_.observe(number);
      const std::string path = std::string(paths::kReports) + "/" + ap(number).mac + ".ini";
      kit::write_file(path, report_text(world_, ap(number), reported_[number]));
      hooks.push_back({{"ap-command", "1", path, ap(number).ip, ap(number).mac}, number});
    }
    controller_.run(hooks, world_.minute());
    deliver();
  }
}

void Play::take_sample() {
  Sample sample;
  for (const AccessPoint& here : world_.aps()) {
    Sample::Ap state;
    state.up = here.up;
    state.power = static_cast<int>(std::lround(here.power[0]));
    state.refused = static_cast<int>(here.refused.size());
    sample.aps.push_back(state);
  }
  for (const Station& station : world_.stations()) {
    Sample::Person& person = sample.people.emplace_back(Sample::Person{
        station.at, station.inside ? station.ap : -2, station.band == Band::five_ghz});
    if (station.ap >= 0) {
      const AccessPoint& used = ap(station.ap);
      person.rate = link_rate(station.band, level(station.band, used.power[number_of(station.band)],
                                                  used.plan.at, station.at, world_.scenario().air) -
                                                kNoiseFloor);
      ++sample.aps[static_cast<std::size_t>(station.ap)].clients[number_of(station.band)];
    }
  }
  samples_.push_back(std::move(sample));
}

void Play::run(const std::function<void(const Play&)>& watch) {
  const Scenario& scenario = world_.scenario();
  for (int minute = 1; minute <= scenario.minutes; ++minute) {
    world_.pass_minute();
    std::vector<int> joining;
    for (const AccessPoint& candidate : world_.aps()) {
      if (candidate.comes_back == minute || (minute == 1 && candidate.plan.starts_up)) {
        joining.push_back(candidate.number);
      }
    }
    join(joining);
    for (const Happening& happening : scenario.happenings) {
      if (happening.minute == minute) {
        happen(happening);
      }
    }
    report_round();
    take_sample();
    watch(*this);
  }
}

}  // namespace lab
