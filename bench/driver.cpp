// The benchmark's driver: measures the real program from outside, in lab/appliance.
// The table goes to the standard output, progress to the standard error output.

#include <sys/resource.h>

#include <algorithm>
#include <cstdio>
#include <stdexcept>

#include "kit/command_line.h"
#include "kit/files.h"
#include "machine.h"
#include "platform/text.h"
#include "sections.h"

namespace {

const kit::Words kSections{"start-up", "cycle", "at-once", "storm", "steering", "parts"};

struct Options {
  bool quick = false;
  std::string json;
  std::vector<std::string> sections;

  Effort effort() const { return quick ? Effort::quick : Effort::full; }
  bool wants(const char* section) const {
    return sections.empty() ||
           std::find(sections.begin(), sections.end(), section) != sections.end();
  }
};

}  // namespace

std::string as_text(ReportSize size) {
  return M("%d/%d", size.stations, size.radios);
}

void say(const std::string& what) {
  std::fprintf(stderr, "  %s\n", what.c_str());
}

namespace {

/// What one of the scripts beside the driver measures.
Section section_of_script(const char* title, Server& server, const std::string& script,
                          kit::Words arguments) {
  say(script);
  server.clear();
  arguments.insert(arguments.begin(), "/source/bench/" + script);
  const kit::Output output = kit::output_of(arguments);
  if (output.status != 0) {
    throw std::runtime_error(script + " failed: " + output.text);
  }
  return section_of(title, output.text);
}

Section measure_storm(Server& server, Effort effort) {
  Section section = section_of_script("Join storm", server, "join-storm",
                                      {effort == Effort::quick ? "50" : "200"});
  section.note =
      "Compare the rows with the right ones, and the slowest process with the time after which the "
      "controller gives up.";
  return section;
}

Section measure_steering(Server& server, Effort effort) {
  Section section = section_of_script("Load-balancing pass", server, "steering-pass",
                                      effort == Effort::quick
                                          ? kit::Words{"50/64"}
                                          : kit::Words{"50/64", "100/128", "200/256", "200/128"});
  section.note =
      "By APs that are heard, stations, and how many APs would serve each station.\nCompare columns "
      "of as many stations: more APs that would serve them should cost little.";
  return section;
}

Table measure(const Options& options, Launcher& launcher, Server& server) {
  Table table;
  StartUp start_up{};
  if (options.wants("start-up") || options.wants("cycle")) {
    table.push_back(measure_start_up(launcher, options.effort(), start_up));
  }
  if (options.wants("cycle")) {
    table.push_back(measure_cycle(launcher, server, options.effort(), start_up));
  }
  if (options.wants("at-once")) {
    table.push_back(measure_at_once(server, options.effort()));
  }
  if (options.wants("storm")) {
    table.push_back(measure_storm(server, options.effort()));
  }
  if (options.wants("steering")) {
    table.push_back(measure_steering(server, options.effort()));
  }
  if (options.wants("parts")) {
    table.push_back(measure_parts_by_size(options.effort()));
    table.push_back(measure_parts(options.effort()));
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

int main(int argc, char** argv) try {
  Launcher launcher;  // first, while this process is small
  Options options;
  CLI::App app("Measures the program in lab/appliance.", "bench/run");
  app.failure_message([](const CLI::App* /*app*/, const CLI::Error& error) {
    return std::string("bench/run: ") + error.what() + "\n";
  });
  app.add_flag("--quick", options.quick, "A first impression in half a minute");
  app.add_option("--json", options.json, "Write the table to this file, too");
  app.add_option("SECTION", options.sections, "All of them without one")
      ->check(CLI::IsMember(kSections));
  if (const std::optional<int> end = kit::read_command_line(app, argc, argv)) {
    return *end;
  }
  Server server;
  const Machine before = Machine::now();
  const double server_before_ms = server.processor_ms();
  const Table table = measure(options, launcher, server);
  const std::string head =
      machine_name() + "\n" + disturbance(before, server, server_before_ms) + "\n";
  std::printf("\n%s%s", head.c_str(), as_text(table).c_str());
  if (!options.json.empty()) {
    kit::write_file(options.json, as_json(head, table));
  }
  return 0;
} catch (const std::exception& error) {
  std::fprintf(stderr, "bench/run: %s\n", error.what());
  return 1;
}
