// lab-building: a building that lives around the real program, inside lab/appliance.

#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <exception>

#include "building/page.h"
#include "building/progress.h"
#include "kit/files.h"

namespace {

constexpr const char* kUsage =
    "usage: lab-building SCENARIO [--page FILE] [--log FILE] [--seed N] [--minutes N]\n"
    "                    [--parallel N]\n"
    "\n"
    "Plays a scenario (lab/scenarios) against the program, in lab/appliance, and tells on the\n"
    "terminal how it goes.\n"
    "  --page FILE      leaves a page about it, to be opened in a browser\n"
    "  --log FILE       leaves what happened as lines, the same in every run with the same seed\n"
    "  --seed, --minutes take the place of those in the scenario\n"
    "  --parallel N     hooks at a time (2)\n"
    "Exit status: 0; 1 when the program's tables differ from the building at the end; 2 for wrong\n"
    "usage or a scenario that cannot be read.\n";

constexpr const char* kTemplate = "/source/lab/building/page.html";

struct Options {
  std::string scenario;
  std::string page;
  std::string log;
  int seed = -1;
  int minutes = -1;
  int parallel = 2;
};

bool read_options(int argc, char** argv, Options& options) {
  for (int i = 1; i < argc; ++i) {
    const std::string word = argv[i];
    if (!word.starts_with("--")) {
      options.scenario = word;
      continue;
    }
    if (++i == argc) {
      return false;
    }
    const std::string value = argv[i];
    const int number = static_cast<int>(lab::number_in(value).value_or(-1));
    if (word == "--page") {
      options.page = value;
    } else if (word == "--log") {
      options.log = value;
    } else if (word == "--seed" && number >= 0) {
      options.seed = number;
    } else if (word == "--minutes" && number > 0) {
      options.minutes = number;
    } else if (word == "--parallel" && number > 0) {
      options.parallel = number;
    } else {
      return false;
    }
  }
  return !options.scenario.empty();
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

}  // namespace

int main(int argc, char** argv) try {
  Options options;
  if (!read_options(argc, argv, options)) {
    std::fputs(kUsage, stderr);
    return 2;
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
  const auto start = std::chrono::steady_clock::now();
  std::printf("%s, %zu APs\n", scenario.title.c_str(), scenario.aps.size());
  lab::Play play(std::move(scenario), options.parallel);
  lab::Progress progress(isatty(STDOUT_FILENO) != 0);
  play.run([&](const lab::Play& now) { progress.show(now); });
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  const std::vector<lab::Agreement> agreements = lab::compare_tables(play);
  const bool agree = conclude(play, agreements, took.count());
  bool written = true;
  if (!options.log.empty()) {
    written = kit::write_file(options.log, lab::log_of(play.world()));
  }
  if (!options.page.empty()) {
    const std::string page_template = kit::content(kTemplate);
    written =
        kit::write_file(options.page, lab::page_of(play, agreements, page_template)) && written;
  }
  if (!written) {
    std::fputs("the page or the log cannot be written\n", stderr);
  }
  return agree && written ? 0 : 1;
} catch (const std::exception& error) {
  std::fprintf(stderr, "lab-building: %s\n", error.what());
  return 1;
}
