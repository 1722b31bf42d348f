// lab-building: a building that lives around the real program, inside lab/appliance.

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <exception>
#include <memory>

#include "building/figures.h"
#include "building/page.h"
#include "building/progress.h"
#include "kit/command_line.h"
#include "kit/files.h"
#include "kit/fresh.h"
#include "values/paths.h"
#include "values/settings.h"

namespace {

constexpr int kMost = 1'000'000;  // of what options count
constexpr const char* kTemplate = "/source/lab/building/page.html";

struct Options {
  std::string scenario;
  std::string page;
  std::string log;
  std::string record;
  int seed = -1;
  int minutes = -1;
  int parallel = 2;
  bool compare = false;
};

/// Defines the options and reads them; returns what kit::read_command_line does.
std::optional<int> read_options(int argc, char** argv, Options& options) {
  CLI::App app(
      "Plays a scenario against the program, in lab/appliance, which it empties before, and tells "
      "on the terminal how it goes.",
      "lab-building");
  app.footer(
      "Example:\n"
      "  lab/appliance --share build/demo \\\n"
      "      /build/bin/lab-building /source/lab/scenarios/leaving-ap.ini --page /share/page.html\n"
      "\n"
      "Exit status: 0; 1 when the program's tables differ from the building at the end; 2 for wrong\n"
      "usage or a scenario that cannot be read.");
  app.add_option("SCENARIO", options.scenario, "one of lab/scenarios")
      ->required()
      ->check(CLI::ExistingFile);
  app.add_option("--page", options.page, "leaves a page about it, to be opened in a browser");
  app.add_option("--log", options.log,
                 "leaves what happened as lines, the same in every run with the same seed");
  app.add_option("--record", options.record,
                 "leaves every hook that is started in this directory, with the file that it reads")
      ->check(CLI::ExistingDirectory);
  app.add_option("--seed", options.seed, "takes the place of the scenario's")
      ->check(CLI::Range(0, kMost));
  app.add_option("--minutes", options.minutes, "takes the place of the scenario's")
      ->check(CLI::Range(1, kMost));
  app.add_option("--parallel", options.parallel, "hooks at a time (2)")
      ->check(CLI::Range(1, kMost));
  app.add_flag("--compare", options.compare,
               "plays it twice, first with load balancing off, and tells what steering gains and "
               "costs");
  return kit::read_command_line(app, argc, argv);
}

/// What remains to be said when the play is over; whether tables and building agree.
bool conclude(const lab::Play& play, const std::vector<lab::Agreement>& agreements,
              double seconds) {
  std::printf("%d hooks in %.1f s; %.1f neighbours an AP\n",
              static_cast<int>(play.controller().runs().size()), seconds,
              play.average_neighbours());
  bool all = true;
  for (const lab::Agreement& one : agreements) {
    std::printf("%-38s %5d compared, %d differ\n", one.what.c_str(), one.compared,
                static_cast<int>(one.differing.size()));
    for (std::size_t i = 0; i < one.differing.size() && i < 3; ++i) {
      std::printf("    %s\n", one.differing[i].c_str());
    }
    all = all && one.differing.empty();
  }
  return all;
}

/// The same building and people, with load balancing off from the beginning to the end.
lab::Scenario without_balancing(lab::Scenario scenario) {
  scenario.settings[setting::kLoadBalancing] = "0";
  std::erase_if(scenario.happenings, [](const lab::Happening& one) {
    return one.verb == "setting" &&
           one.value.starts_with(std::to_string(setting::kLoadBalancing) + " ");
  });
  return scenario;
}

/// Plays it in an empty appliance, whose database is where it was.
std::unique_ptr<lab::Play> played(lab::Scenario scenario, int parallel,
                                  const std::string& record = {}) {
  kit::Database server;
  const std::optional<std::string> options = kit::read_file(paths::kDatabaseOptions);
  kit::start_afresh(server);
  if (options) {
    kit::write_file(paths::kDatabaseOptions, *options);
  }
  auto play = std::make_unique<lab::Play>(std::move(scenario), parallel);
  play->record_to(record);
  lab::Progress progress(isatty(STDOUT_FILENO) != 0);
  play->run([&](const lab::Play& now) { progress.show(now); });
  return play;
}

}  // namespace

int main(int argc, char** argv) try {
  Options options;
  if (const std::optional<int> end = read_options(argc, argv, options)) {
    return *end;
  }
  const std::optional<std::string> text = kit::read_file(options.scenario);
  std::string problem = text ? "" : "cannot be read\n";
  lab::Scenario scenario = lab::parse_scenario(text.value_or(""), problem);
  if (!problem.empty()) {
    std::fprintf(stderr, "%s: %s", options.scenario.c_str(), problem.c_str());
    return 2;
  }
  if (options.seed >= 0) {
    scenario.seed = static_cast<std::uint64_t>(options.seed);
  }
  if (options.minutes > 0) {
    scenario.minutes = options.minutes;
  }
  std::printf("%s, %zu APs\n", scenario.title.c_str(), scenario.aps.size());
  std::unique_ptr<lab::Play> unsteered;
  if (options.compare) {
    std::puts("with load balancing off:");
    unsteered = played(without_balancing(scenario), options.parallel);
    std::puts("as the scenario has it:");
  }
  const auto start = std::chrono::steady_clock::now();
  const std::unique_ptr<lab::Play> steered =
      played(std::move(scenario), options.parallel, options.record);
  const lab::Play& play = *steered;
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  const std::vector<lab::Agreement> agreements = lab::compare_tables(play);
  const bool agree = conclude(play, agreements, took.count());
  std::fputs(lab::table_of(play, unsteered.get()).c_str(), stdout);
  bool written = true;
  if (!options.log.empty()) {
    written = kit::write_file(options.log, lab::log_of(play.world()));
  }
  if (!options.page.empty()) {
    const std::string page_template = kit::content(kTemplate);
    written = kit::write_file(options.page,
                              lab::page_of(play, unsteered.get(), agreements, page_template)) &&
              written;
  }
  if (!written) {
    std::fputs("the page or the log cannot be written\n", stderr);
  }
  return agree && written ? 0 : 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "lab-building: %s\n", error.what());
  return 1;
}
