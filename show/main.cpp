#include <sys/wait.h>
#include <syslog.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>

#include "kit/command_line.h"
#include "show/ap_list.h"
#include "show/ap_view.h"
#include "show/metrics.h"
#include "show/output.h"
#include "show/station_view.h"
#include "show/why_view.h"
#include "trace/trace_log.h"
#include "values/decimal.h"
#include "values/mac_address.h"

namespace {

constexpr const char* kAbout =
    "Shows the access points, one of them, or a station: what tables and files say, and why a station\n"
    "is refused. Changes nothing. Run it as root.";

constexpr const char* kExamples =
    "Examples:\n"
    "  ap-show                              all APs\n"
    "  ap-show --problems --watch 5         those with something odd, again every 5 seconds\n"
    "  ap-show \"Hall west\"                  an AP by its name; its MAC or number do as well\n"
    "  ap-show 02:4C:0E:00:00:1B            a station: where it is, who refuses it, and why\n"
    "  ap-show --json | jq '.aps[].name'    for programs\n"
    "  ap-show why Lobby                    whom it would send away now, and why\n"
    "  ap-show metrics                      numbers for monitoring\n"
    "\n"
    "The exit status is 0; 1 when something cannot be shown; 2 when the command line is wrong.";

constexpr int kLongestWatch = 86'400;  // seconds
constexpr int kLongestPeriod = 86'400;

struct Options {
  std::string subject;
  bool metrics = false;
  bool why = false;
  show::ListWish list;
  bool json = false;
  int watch = 0;  // seconds between two looks; 0: one look
};

/// The AP that the user means; null for none. Throws Unavailable when several have the name.
const show::ApState* ap_called(const show::Site& site, const std::string& subject) {
  const show::ApState* named = nullptr;
  for (const show::ApState& ap : site.aps()) {
    if (my_tolower(ap.mac) == my_tolower(subject)) {
      return &ap;
    }
    if (ap.name == subject) {
      if (named != nullptr) {
        throw show::Unavailable(M("APs %d and %d are called \"%s\"; name one by its number",
                                  named->sn, ap.sn, subject.c_str()));
      }
      named = &ap;
    }
  }
  const bool is_number = subject.find_first_not_of("0123456789") == std::string::npos;
  return named == nullptr && is_number ? site.ap(decimal_int(subject)) : named;
}

show::View look(const Options& options) {
  show::Site site;
  if (options.subject.empty()) {
    return show::ap_list(site, options.list);
  }
  if (const show::ApState* ap = ap_called(site, options.subject)) {
    return options.why ? show::why_view(site, *ap) : show::ap_view(site, *ap, options.list.period);
  }
  if (is_mac(options.subject) && !options.why) {
    return show::station_view(site, options.subject);
  }
  throw show::Unavailable("no AP is called \"" + options.subject + "\"" +
                          (options.why ? "" : ", and it is no MAC address"));
}

/// The text of one look.
std::string look_text(const Options& options) {
  if (options.metrics && !options.json) {
    return show::as_exposition(show::site_metrics());
  }
  const show::View view = options.metrics ? show::as_view(show::site_metrics()) : look(options);
  return options.json
             ? show::as_json(view, options.watch > 0 ? show::Compact::yes : show::Compact::no)
             : show::as_text(view, show::standard_page());
}

int show_once(const Options& options) try {
  const std::string text = look_text(options);
  const bool again = options.watch > 0;
  const char* clear = again && !options.json && isatty(STDOUT_FILENO) != 0 ? "\x1b[H\x1b[2J" : "";
  std::signal(SIGPIPE, SIG_DFL);  // which the database library ignores: when nobody reads on, end
  std::printf("%s%s", clear, text.c_str());
  return std::fflush(stdout) == 0 ? 0 : 1;
} catch (const show::Unavailable& reason) {
  std::fprintf(stderr, "ap-show: %s\n", reason.what());
  return 1;
}

/// Looks again and again, each time in a new process, because a process may wait for the database
/// only so long, and does not reconnect to a server that was away.
[[noreturn]] void watch(const Options& options) {
  for (;;) {
    const pid_t child = fork();
    if (child == 0) {
      std::exit(show_once(options));
    }
    int status = 0;
    waitpid(child, &status, 0);
    if (child < 0 || (WIFSIGNALED(status) && WTERMSIG(status) == SIGPIPE)) {
      std::exit(1);
    }
    sleep(static_cast<unsigned int>(options.watch));
  }
}

}  // namespace

// Only a lack of memory throws here. NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv) {
  constexpr int kUsualWatch = 2;  // seconds
  constexpr int kWrongUsage = 2;
  Options options;
  CLI::App app(kAbout, "ap-show");
  app.footer(kExamples);
  app.set_version_flag("--version", "ap-show " AP_RUN_VERSION, "print the version");
  app.add_option("SUBJECT", options.subject,
                 "an AP (its name, MAC or number) or a station (its MAC); without it, all APs");
  app.add_flag("--json", options.json, "print one JSON object");
  CLI::Option* again = app.add_option("--watch", options.watch,
                                      "look again every so many seconds (2), until interrupted")
                           ->expected(0, 1)
                           ->check(CLI::Range(1, kLongestWatch));
  app.add_option("--sort", options.list.sort, "the list by this column, as JSON names it (name)");
  app.add_flag("--problems", options.list.problems_only,
               "in the list, only APs with something odd");
  app.add_option("--period", options.list.period, "seconds from report to report (60)")
      ->check(CLI::Range(1, kLongestPeriod));
  const CLI::App* metrics =
      app.add_subcommand("metrics",
                         "numbers for the textfile collector of Prometheus' node exporter")
          ->fallthrough();
  CLI::App* why =
      app.add_subcommand("why", "what the rules would decide for an AP now, and from which numbers")
          ->fallthrough();
  why->add_option("AP", options.subject, "its name, MAC or number")->required();
  if (const std::optional<int> status = kit::read_command_line(app, argc, argv)) {
    return *status;
  }
  options.metrics = metrics->parsed();
  options.why = why->parsed();
  if (options.metrics && !options.subject.empty()) {
    std::fprintf(stderr, "ap-show: not expected: %s (see --help)\n", options.subject.c_str());
    return kWrongUsage;
  }
  if (*again && options.watch == 0) {
    options.watch = kUsualWatch;
  }
  keep_trace_off();
  setlogmask(LOG_MASK(LOG_EMERG));  // errors go to the terminal, not to the system log
  if (options.watch > 0) {
    watch(options);
  }
  return show_once(options);
}
