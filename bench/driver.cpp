// The benchmark's driver: measures the real program from outside, in lab/appliance.
//
//   bench-driver [--quick] [--json FILE] [SECTION...]
//
// SECTION is start-up, cycle, at-once or parts; without one all of them. The table goes to the
// standard output, progress to the standard error output.

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <optional>
#include <string>
#include <vector>

#include "platform/text.h"
#include "sections.h"

namespace {

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
    } else if (words[i] == "start-up" || words[i] == "cycle" || words[i] == "at-once" ||
               words[i] == "parts") {
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

int main(int argc, char** argv) {
  Launcher launcher;  // first, while this process is small
  const std::optional<Options> options = options_of({argv + 1, argv + argc});
  if (!options) {
    std::fprintf(stderr,
                 "usage: bench/run [--quick] [--json FILE] [start-up|cycle|at-once|parts]...\n");
    return 2;
  }
  Server server;
  Table table;
  StartUp start_up{};
  if (options->wants("start-up") || options->wants("cycle")) {
    table.push_back(measure_start_up(launcher, options->effort, start_up));
  }
  if (options->wants("cycle")) {
    table.push_back(measure_cycle(launcher, server, options->effort, start_up));
  }
  if (options->wants("at-once")) {
    table.push_back(measure_at_once(server, options->effort));
  }
  if (options->wants("parts")) {
    table.push_back(measure_parts_by_size(options->effort));
    table.push_back(measure_parts(options->effort));
  }
  std::printf("\n%s\n%s", machine().c_str(), as_text(table).c_str());
  if (!options->json.empty()) {
    std::ofstream(options->json) << as_json(table);
  }
  return 0;
}
