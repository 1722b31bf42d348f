// The benchmark's driver: measures the real program from outside, in lab/appliance.
//
//   bench-driver [--quick] [--json FILE] [SECTION...]
//
// SECTION is start-up, cycle, at-once, storm, steering or parts; without one all of them. The table goes to the
// standard output, progress to the standard error output.

#include <sys/resource.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "machine.h"
#include "platform/text.h"
#include "script_output.h"
#include "sections.h"

namespace {

constexpr std::array<std::string_view, 6> kSections{"start-up", "cycle",    "at-once",
                                                    "storm",    "steering", "parts"};

struct Options {
  Effort effort = Effort::full;
  std::string json;
  std::vector<std::string> sections;

  bool wants(const char* section) const {
    return sections.empty() ||
           std::find(sections.begin(), sections.end(), section) != sections.end();
  }
};

std::optional<Options> options_of(const std::vector<std::string>& words) {
  Options options;
  for (std::size_t i = 0; i < words.size(); ++i) {
    if (words[i] == "--quick") {
      options.effort = Effort::quick;
    } else if (words[i] == "--json" && i + 1 < words.size()) {
      options.json = words[++i];
    } else if (std::find(kSections.begin(), kSections.end(), words[i]) != kSections.end()) {
      options.sections.push_back(words[i]);
    } else {
      return std::nullopt;
    }
  }
  return options;
}

}  // namespace

std::string as_text(ReportSize size) {
  return M("%d/%d", size.stations, size.radios);
}

void say(const std::string& what) {
  std::fprintf(stderr, "  %s\n", what.c_str());
}

namespace {

/// What one of the scripts beside the driver prints.
std::string output_of(const std::string& command) {
  say(command);
  std::string output;
  if (FILE* pipe = popen(("/source/bench/" + command).c_str(), "r")) {
    std::array<char, 4096> part{};
    while (const std::size_t got = fread(part.data(), 1, part.size(), pipe)) {
      output.append(part.data(), got);
    }
    pclose(pipe);
  }
  return output;
}

Section measure_storm(Server& server, Effort effort) {
  server.reset();
  Section section = section_of_blocks(
      "Join storm", output_of(effort == Effort::quick ? "join-storm 50" : "join-storm 200"));
  section.note +=
      ".\nCompare the rows with the right ones, and the slowest process with the time "
      "after which the controller gives up.";
  return section;
}

Section measure_steering(Server& server, Effort effort) {
  server.reset();
  Section section = section_of_lines(
      "Load-balancing pass",
      output_of(effort == Effort::quick ? "steering-pass 50/64"
                                        : "steering-pass 50/64 100/128 200/256 200/128"));
  section.note =
      "By APs that are heard, stations, and how many APs would serve each station.\nCompare columns "
      "of as many stations: more APs that would serve them should cost little.";
  return section;
}

Table measure(const Options& options, Launcher launcher, Server& server) {
  Table table;
  StartUp start_up{};
  if (options.wants("start-up") || options.wants("cycle")) {
    table.push_back(measure_start_up(launcher, options.effort, start_up));
  }
  if (options.wants("cycle")) {
    table.push_back(measure_cycle(launcher, server, options.effort, start_up));
  }
  if (options.wants("at-once")) {
    table.push_back(measure_at_once(server, options.effort));
  }
  if (options.wants("storm")) {
    table.push_back(measure_storm(server, options.effort));
  }
  if (options.wants("steering")) {
    table.push_back(measure_steering(server, options.effort));
  }
  if (options.wants("parts")) {
    table.push_back(measure_parts_by_size(options.effort));
    table.push_back(measure_parts(options.effort));
  }
  return table;
}

double processor_ms(int who) {
  rusage used{};
  getrusage(who, &used);
  const auto ms = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_usec) / 1e3;
  };
  return ms(used.ru_utime) + ms(used.ru_stime);
}

/// How much of the processors other programs took since `before`: the reader's measure of how far
/// to trust the figures. Everything that was started has ended.
std::string disturbance(const Machine& before, const Server& server, double server_before_ms) {
  const Machine now = Machine::now();
  const double own = processor_ms(RUSAGE_SELF) + processor_ms(RUSAGE_CHILDREN) +
                     server.processor_ms() - server_before_ms;
  const double busy = now.busy_ms - before.busy_ms;
  const double all = busy + now.idle_ms - before.idle_ms;
  return M(
      "Meanwhile other programs took %.0f %% of the processors; at more than a few per cent, "
      "trust ratios and the least\nfigures rather than medians.",
      std::max(0.0, busy - own) / all * 100);
}

}  // namespace

int main(int argc, char** argv) {
  Launcher launcher;  // first, while this process is small
  const std::optional<Options> options = options_of({argv + 1, argv + argc});
  if (!options) {
    std::fprintf(stderr, "bench/run: unknown word or option (see --help)\n");
    return 2;
  }
  Server server;
  const Machine before = Machine::now();
  const double server_before_ms = server.processor_ms();
  const Table table = measure(*options, std::move(launcher), server);
  const std::string head =
      machine_name() + "\n" + disturbance(before, server, server_before_ms) + "\n";
  std::printf("\n%s%s", head.c_str(), as_text(table).c_str());
  if (!options->json.empty()) {
    std::ofstream(options->json) << as_json(head, table);
  }
  return 0;
}
