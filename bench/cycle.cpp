#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>

#include "building.h"
#include "figures.h"
#include "kit/files.h"
#include "platform/text.h"
#include "sections.h"

namespace {

constexpr int kAp = 1;
constexpr const char* kStatements = "/tmp/bench-statements";
constexpr const char* kTracedStatements = "/tmp/bench-traced-statements";
constexpr const char* kCounts = "/tmp/bench-counts";
constexpr const char* kHints = "/tmp/bench-hints";
constexpr const char* kTraces = "/database/ap/debug";

/// What a neighbour has, of the stations of the AP that is measured: a little less, so that the
/// AP sends some away.
constexpr double kNeighbourLoad = 0.85;

constexpr double kGoalRatio = 0.8;
constexpr double kGoalMemoryMib = 12;
constexpr double kGoalMemoryOfReport = 4;
constexpr double kGoalItem = 1.25;

struct Rounds {
  int warm_up;
  int measured;
};

Rounds rounds_of(ReportSize size, Effort effort) {
  const int full = size.radios > 1000 ? 11 : size.radios > 200 ? 25 : 41;
  return effort == Effort::quick ? Rounds{1, full / 10 + 1} : Rounds{3, full};
}

/// What each of many runs took; the server's part of the processor besides the process's own.
struct Series {
  std::vector<double> wall, processor, server;
};

struct Measured {
  Series cycle, replay, traced_replay;
  std::vector<double> ratio;  // of the wall times of a pair
  double peak_kib = 0;
  double report_kib = 0;
  std::size_t statements = 0, statements_again = 0, traced_statements = 0;
  double waits = 0, stops = 0, blocked_ms = 0, processes = 0, ahead = 0, never_taken = 0;
};

void check(const kit::Usage& usage, const char* what) {
  if (usage.status != 0) {
    throw std::runtime_error(M("%s ended with status %d", what, usage.status));
  }
}

/// One report of the measured AP, over and over. The server is left as the report left it, so that
/// each cycle finds the same, and carries out the same statements.
class Cycle {
 public:
  Cycle(Launcher& launcher, Server& server, ReportSize size)
      : launcher_(launcher), server_(server), size_(size) {
    server_.clear();
    write_settings();
    server_.rows(kProfiles);
    const ReportPlan plan = crowded(size);
    report_ = report_text(plan);
    move_in(kAp, report_);
    for (const int ap : plan.neighbours) {
      add_neighbour(ap);
    }
  }

  Measured measure(Rounds rounds) {
    Measured measured;
    measured.report_kib = static_cast<double>(report_.size()) / 1024;
    for (int i = 0; i < rounds.warm_up; ++i) {
      Series ignored;
      run(prepare(), ignored);
    }
    count(measured);
    std::filesystem::create_directories(kTraces);
    measured.traced_statements = save_statements(kTracedStatements);
    std::filesystem::remove_all(kTraces);
    measured.statements = save_statements(kStatements);
    for (int i = 0; i < rounds.measured; ++i) {
      measured.peak_kib = std::max(measured.peak_kib, run(prepare(), measured.cycle));
      prepare();
      run({"/build/bin/bench-replay", kStatements}, measured.replay);
      prepare();
      run({"/build/bin/bench-replay", kTracedStatements}, measured.traced_replay);
      measured.ratio.push_back(measured.cycle.wall.back() / measured.replay.wall.back());
    }
    measured.statements_again = save_statements(kStatements);
    return measured;
  }

 private:
  void move_in(int ap, const std::string& report) {
    check(launcher_.run(deliver(ap, report)), "ap-command");
  }

  /// A neighbour hears the measured AP, and its foreign radios are heard by the measured one as
  /// well, which makes about half of those.
  void add_neighbour(int ap) {
    constexpr ReportSize kHeard{0, 18};  // of them 3 of the measured AP
    move_in(ap, report_text({ap, kHeard, {kAp}, (ap - kAp - 1) * 2 * kHeard.radios}));
    const int stations = static_cast<int>(kNeighbourLoad * size_.stations);
    std::string rows;
    for (int n = 0; n < stations; ++n) {
      rows += (n == 0 ? "('" : ",('") + station_mac(ap, n) + "')";
    }
    server_.rows(M("INSERT INTO AP_CLIENT.AP_%03d (mac) VALUES ", ap) + rows);
  }

  std::vector<std::string> prepare() {
    server_.rows("DELETE FROM AP_CLIENT.block");
    return deliver(kAp, report_);
  }

  /// Returns the peak memory in KiB.
  double run(const std::vector<std::string>& words, Series& series) {
    const double server_before = server_.processor_ms();
    const kit::Usage usage = launcher_.run(words);
    check(usage, words.front().c_str());
    series.server.push_back(server_.processor_ms() - server_before);
    series.wall.push_back(usage.wall_ms);
    series.processor.push_back(usage.processor_ms);
    return usage.peak_kib;
  }

  /// Runs a cycle and keeps its statements for the replay; their number.
  std::size_t save_statements(const char* path) {
    const auto words = prepare();
    server_.start_log();
    check(launcher_.run(words), "ap-command");
    const std::vector<std::string> statements = server_.stop_log();
    std::ofstream file(path, std::ios::binary);
    for (const std::string& statement : statements) {
      file << statement << '\0';
    }
    return statements.size();
  }

  void count(Measured& measured) {
    unlink(kCounts);
    check(launcher_.run(prepare(), {"LD_PRELOAD=/build/bin/bench-counter.so",
                                    std::string("BENCH_COUNTS=") + kCounts}),
          "ap-command");
    // Children write their lines before; the hook's is the last.
    std::istringstream counts(kit::lines_of(kit::content(kCounts)).back());
    counts >> measured.waits >> measured.stops >> measured.blocked_ms >> measured.processes;
    measured.blocked_ms /= 1e3;

    unlink(kHints);
    kit::Words words = prepare();
    words[0] = "/build/bin/counted/ap-command";
    check(launcher_.run(words, {std::string("AP_RUN_HINTS=count:") + kHints}), "the counted hook");
    std::istringstream hints(kit::lines_of(kit::content(kHints)).back());
    hints >> measured.ahead >> measured.never_taken;
  }

  Launcher& launcher_;
  Server& server_;
  ReportSize size_;
  std::string report_;
};

double per_item_us(double total_ms, double start_up_ms, ReportSize size) {
  return (total_ms - start_up_ms) * 1e3 / (size.stations + size.radios);
}

void add_item_rows(Section& section, const std::vector<Measured>& all, const StartUp& start_up) {
  FigureRow wall{"wall per item, less start-up", "us", {}, ""};
  FigureRow processor{"processor per item, less start-up", "us", {}, ""};
  FigureRow growth{"wall per item / the smallest's", "", {}, M("< %.2f", kGoalItem)};
  for (std::size_t i = 0; i < all.size(); ++i) {
    wall.cells.emplace_back(per_item_us(median(all[i].cycle.wall), start_up.wall_ms, kSizes[i]));
    processor.cells.emplace_back(
        per_item_us(median(all[i].cycle.processor), start_up.processor_ms, kSizes[i]));
    growth.cells.emplace_back(*wall.cells.back().number / *wall.cells.front().number);
  }
  section.rows.push_back(std::move(wall));
  section.rows.push_back(std::move(processor));
  section.rows.push_back(std::move(growth));
}

}  // namespace

// A list of rows, top to bottom. NOLINTNEXTLINE(readability-function-size)
Section measure_cycle(Launcher& launcher, Server& server, Effort effort, const StartUp& start_up) {
  Section section{"Report cycle, by stations/heard radios", {}, {}, ""};
  std::vector<Measured> all;
  for (const ReportSize size : kSizes) {
    say("report cycle " + as_text(size));
    section.columns.push_back(as_text(size));
    all.push_back(Cycle(launcher, server, size).measure(rounds_of(size, effort)));
    if (all.back().statements != all.back().statements_again) {
      section.note += M("The statements of %s changed from cycle to cycle (%zu, %zu). ",
                        as_text(size).c_str(), all.back().statements, all.back().statements_again);
    }
  }
  using Of = const Measured&;
  add_rows<Measured>(
      section, all,
      {{"report", "KiB", [](Of m) -> Cell { return m.report_kib; }},
       {"wall, median", "ms", [](Of m) -> Cell { return median(m.cycle.wall); }},
       {"wall, least", "ms", [](Of m) -> Cell { return least(m.cycle.wall); }},
       {"bare replay of its statements, median", "ms",
        [](Of m) -> Cell { return median(m.replay.wall); }},
       {"bare replay, least", "ms", [](Of m) -> Cell { return least(m.replay.wall); }},
       {"cycle / replay, median of pairs", "", [](Of m) -> Cell { return median(m.ratio); },
        M("< %.2f", kGoalRatio)},
       {"processor of the hook", "ms", [](Of m) -> Cell { return median(m.cycle.processor); }},
       {"processor of the server meanwhile", "ms",
        [](Of m) -> Cell { return mean(m.cycle.server); }},
       {"processor of the replay", "ms", [](Of m) -> Cell { return median(m.replay.processor); }},
       {"processor of the server meanwhile", "ms",
        [](Of m) -> Cell { return mean(m.replay.server); }},
       {"processor, both, cycle / replay", "",
        [](Of m) -> Cell {
          return (mean(m.cycle.processor) + mean(m.cycle.server)) /
                 (mean(m.replay.processor) + mean(m.replay.server));
        }},
       {"peak memory", "MiB", [](Of m) -> Cell { return m.peak_kib / 1024; }, "below the next"},
       {M("%.0f MiB + %.0f x report", kGoalMemoryMib, kGoalMemoryOfReport), "MiB",
        [](Of m) -> Cell { return kGoalMemoryMib + kGoalMemoryOfReport * m.report_kib / 1024; }},
       {"statements", "", [](Of m) -> Cell { return static_cast<double>(m.statements); }},
       {"statements while tracing, none from memory", "",
        [](Of m) -> Cell { return static_cast<double>(m.traced_statements); }},
       {"processor of the server, replay of those", "ms",
        [](Of m) -> Cell { return mean(m.traced_replay.server); }},
       {"fetched ahead", "", [](Of m) -> Cell { return m.ahead; }},
       {"never taken", "", [](Of m) -> Cell { return m.never_taken; }},
       {"waits for the server", "", [](Of m) -> Cell { return m.waits; }},
       {"stops, the answer not being there yet", "", [](Of m) -> Cell { return m.stops; }},
       {"stopped, all together", "ms", [](Of m) -> Cell { return m.blocked_ms; }},
       {"processes started", "", [](Of m) -> Cell { return m.processes; }}});
  add_item_rows(section, all, start_up);
  section.note +=
      "Look-ups that a report repeats are answered from memory; while tracing they are sent again. "
      "Compare the two counts of\nstatements, and what the server takes to replay them. Compare the "
      "waits with the statements: what is fetched ahead\nis sent without waiting, what is never taken "
      "was sent for nothing.\n"
      "Compare a cycle with the replay below it: the same statements, one at a time, by a client "
      "that does nothing else; while\nother programs keep the processors busy, both only wait for "
      "their turn, and their processor time is the better comparison.\nAn item is a station or a "
      "heard radio. A wait is a turn from sending to reading, whether or not the answer was there "
      "already.\nLoad balancing and auto-RF are on; the AP has a few stations more than its "
      "neighbours, half of its foreign radios are\nheard elsewhere, too.";
  return section;
}
