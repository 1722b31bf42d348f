// The benchmark's driver: measures the real program from outside, in lab/appliance. The table goes
// to the standard output, progress to the standard error output.

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <set>

#include "kit/child.h"
#include "kit/command_line.h"
#include "kit/files.h"
#include "machine.h"
#include "sections.h"

std::string as_text(ReportSize size) {
  return kit::format("%d/%d", size.stations, size.radios);
}

void say(const std::string& what) {
  std::fprintf(stderr, "  %s\n", what.c_str());
}

namespace {

struct Part {
  std::string name;
  Section (*measure)(Bench&);
};

const std::vector<Part> kParts{{"start-up", measure_start_up},   {"cycle", measure_cycle},
                               {"at-once", measure_at_once},     {"fleet", measure_fleet},
                               {"storm", measure_storm},         {"steering", measure_steering},
                               {"parts", measure_parts_by_size}, {"parts", measure_parts}};

/// User and system time so far of this process, of what it has started and of the server.
double own_ms(const Server& server) {
  double ms = server.processor_ms();
  for (const int who : {RUSAGE_SELF, RUSAGE_CHILDREN}) {
    rusage used{};
    getrusage(who, &used);
    ms += kit::milliseconds(used.ru_utime) + kit::milliseconds(used.ru_stime);
  }
  return ms;
}

}  // namespace

int main(int argc, char** argv) try {
  CLI::App app{"Measures the release build in the private appliance; ends with one table.",
               "bench/run"};
  Effort effort = Effort::full;
  std::string json;
  std::set<std::string> all;
  for (const Part& part : kParts) {
    all.insert(part.name);
  }
  std::set<std::string> wanted = all;
  wanted.erase("fleet");  // takes longer than all the others
  app.add_flag_callback(
      "--quick", [&] { effort = Effort::quick; },
      "a first impression in half a minute instead of a few");
  app.add_option("--json", json, "writes the table to this file, too");
  app.add_option("SECTION", wanted, "what to measure; all but fleet without one")
      ->check(CLI::IsMember(all));
  if (const auto status = kit::read_command_line(app, argc, argv)) {
    return *status;
  }
  if (wanted.contains("cycle")) {
    wanted.insert("start-up");  // is taken off
  }
  Bench bench{effort, {}, {}};
  const Machine before = Machine::now();
  const double own_before = own_ms(bench.server);
  Table table;
  for (const auto& [name, measure] : kParts) {
    if (wanted.contains(name)) {
      table.push_back(measure(bench));
    }
  }
  const Machine meanwhile = Machine::now().since(before);
  const double others = meanwhile.busy_ms - own_ms(bench.server) + own_before;
  const std::string head = kit::format(
      "%s\nMeanwhile other programs took %.0f %% of the processors; at more than a few per cent, "
      "trust ratios and the least\nfigures rather than medians.\n",
      machine_name().c_str(), std::max(0.0, others) / meanwhile.all_ms() * 100);
  std::printf("\n%s%s", head.c_str(), as_text(table).c_str());
  if (!json.empty()) {
    const Cell document{{"head", head}, {"sections", table}};
    kit::write_file(json, document.dump(1) + "\n");
  }
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "bench/run: %s\n", error.what());
  return 1;
}
