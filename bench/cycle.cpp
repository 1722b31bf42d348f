#include <algorithm>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "building.h"
#include "figures.h"
#include "kit/files.h"
#include "measured_run.h"
#include "sections.h"

namespace {

using kit::format;

constexpr const char* kStatements = "/tmp/bench-statements";
constexpr const char* kTracedStatements = "/tmp/bench-traced-statements";
constexpr const char* kCounts = "/tmp/bench-counts";
constexpr const char* kTraces = "/database/ap/debug";

/// What a neighbour has, of the stations of the AP that is measured: a little less, so that the
/// AP sends some away.
constexpr double kNeighbourLoad = 0.85;

constexpr double kGoalMemoryMib = 12;
constexpr double kGoalMemoryOfReport = 4;

constexpr int kWarmUp = 2;

int rounds_of(ReportSize size, Effort effort) {
  const int full = size.radios > 1000 ? 11 : size.radios > 200 ? 25 : 41;
  return effort == Effort::quick ? full / 10 + 1 : full;
}

/// What each of many runs took; the server's processor time apart from the process's own.
struct Series {
  std::vector<double> wall, processor, server;
};

struct Measured {
  Series cycle, replay, traced_replay;
  std::vector<double> ratio;  // of the wall times of a pair
  double peak_kib = 0;
  double report_kib = 0;
  std::size_t statements = 0, statements_again = 0, traced_statements = 0;
  double waits = 0, stops = 0, blocked_us = 0, processes = 0, ahead = 0, never_taken = 0;
  double wall_each = 0, processor_each = 0;  // us per item, less start-up
};

/// One report of the measured AP, over and over. The server is left as the report left it, so that
/// each cycle finds the same, and carries out the same statements.
class Cycle {
 public:
  Cycle(Server& server, ReportSize size) : server_(server), size_(size) {
    move_out(server_);
    const ReportPlan plan = crowded(size);
    report_ = report_text(plan);
    measured_run(deliver(kAp, report_));
    for (const int ap : plan.neighbours) {
      add_neighbour(ap);
    }
  }

  Measured measure(int rounds, const StartUp& start_up) {
    Measured measured;
    measured.report_kib = static_cast<double>(report_.size()) / 1024;
    for (int i = 0; i < kWarmUp; ++i) {
      Series ignored;
      run(prepare(), ignored);
    }
    count(measured);
    std::filesystem::create_directories(kTraces);
    measured.traced_statements = save_statements(kTracedStatements);
    std::filesystem::remove_all(kTraces);
    measured.statements = save_statements(kStatements);
    for (int i = 0; i < rounds; ++i) {
      measured.peak_kib = std::max(measured.peak_kib, run(prepare(), measured.cycle));
      prepare();
      run({"/build/bin/bench-replay", kStatements}, measured.replay);
      prepare();
      run({"/build/bin/bench-replay", kTracedStatements}, measured.traced_replay);
      measured.ratio.push_back(measured.cycle.wall.back() / measured.replay.wall.back());
    }
    measured.statements_again = save_statements(kStatements);
    const double items_per_us = (size_.stations + size_.radios) / 1e3;
    measured.wall_each = (median(measured.cycle.wall) - start_up.wall_ms) / items_per_us;
    measured.processor_each =
        (median(measured.cycle.processor) - start_up.processor_ms) / items_per_us;
    return measured;
  }

 private:
  /// A neighbour hears the measured AP; its foreign radios, about half of those that the measured
  /// one hears, are heard by both.
  void add_neighbour(int ap) {
    constexpr ReportSize kHeard{0, 18};  // of them 3 of the measured AP
    measured_run(deliver(ap, report_text({ap, kHeard, {kAp}, (ap - kAp - 1) * 2 * kHeard.radios})));
    const int stations = static_cast<int>(kNeighbourLoad * size_.stations);
    std::string rows;
    for (int n = 0; n < stations; ++n) {
      rows += (n == 0 ? "('" : ",('") + station_mac(ap, n) + "')";
    }
    server_.rows(format("INSERT INTO AP_CLIENT.AP_%03d (mac) VALUES ", ap) + rows);
  }

  kit::Words prepare() {
    server_.rows("DELETE FROM AP_CLIENT.block");
    return deliver(kAp, report_);
  }

  /// Returns the peak memory in KiB.
  double run(const kit::Words& words, Series& series) {
    const double server_before = server_.processor_ms();
    const kit::Usage usage = measured_run(words);
    series.server.push_back(server_.processor_ms() - server_before);
    series.wall.push_back(usage.wall_ms);
    series.processor.push_back(usage.processor_ms);
    return usage.peak_kib;
  }

  /// Runs a cycle and keeps its statements for the replay; their number.
  std::size_t save_statements(const char* path) {
    const kit::Words hook = prepare();
    const std::vector<std::string> statements = server_.statements_of([&] { kit::run(hook); });
    std::string text;
    for (const std::string& statement : statements) {
      text += statement + '\0';
    }
    kit::write_file(path, text);
    return statements.size();
  }

  void count(Measured& measured) {
    counted("/usr/sbin/ap-command",
            {"LD_PRELOAD=/build/bin/bench-counter.so", std::string("BENCH_COUNTS=") + kCounts},
            {&measured.waits, &measured.stops, &measured.blocked_us, &measured.processes});
    counted("/build/bin/counted/ap-command", {std::string("AP_RUN_HINTS=count:") + kCounts},
            {&measured.ahead, &measured.never_taken});
  }

  /// Runs a hook that leaves its counts in a file, and reads them.
  void counted(const std::string& program, const kit::Words& environment,
               std::initializer_list<double*> counts) {
    std::filesystem::remove(kCounts);
    const int status = kit::Child({program, prepare(), environment}).finish().status;
    const kit::Lines lines = kit::lines_of(kit::content(kCounts));
    if (status != 0 || lines.empty()) {
      throw std::runtime_error(program + " failed while it was counted");
    }
    std::istringstream last(lines.back());  // lines of its children come before it
    for (double* count : counts) {
      last >> *count;
    }
  }

  Server& server_;
  ReportSize size_;
  std::string report_;
};

}  // namespace

// A list of rows, top to bottom. NOLINTNEXTLINE(readability-function-size)
Section measure_cycle(Bench& bench) {
  Section section{"Report cycle, by stations/heard radios", {}, {}, ""};
  std::vector<Measured> all;
  for (const ReportSize size : kSizes) {
    say("report cycle " + as_text(size));
    section.columns.push_back(as_text(size));
    all.push_back(Cycle(bench.server, size).measure(rounds_of(size, bench.effort), bench.start_up));
    if (all.back().statements != all.back().statements_again) {
      section.note +=
          format("The statements of %s changed from cycle to cycle (%zu, %zu). ",
                 as_text(size).c_str(), all.back().statements, all.back().statements_again);
    }
  }
  const double smallest = all.front().wall_each;
  using M = const Measured&;
  section.rows = rows_of<Measured>(
      all,
      {{"report", "KiB", [](M m) { return m.report_kib; }},
       {"wall, median", "ms", [](M m) { return median(m.cycle.wall); }},
       {"wall, least", "ms", [](M m) { return least(m.cycle.wall); }},
       {"bare replay of its statements, median", "ms", [](M m) { return median(m.replay.wall); }},
       {"bare replay, least", "ms", [](M m) { return least(m.replay.wall); }},
       {"cycle / replay, median of pairs", "", [](M m) { return median(m.ratio); }, "< 0.80"},
       {"processor of the hook", "ms", [](M m) { return median(m.cycle.processor); }},
       {"processor of the server meanwhile", "ms", [](M m) { return mean(m.cycle.server); }},
       {"processor of the replay", "ms", [](M m) { return median(m.replay.processor); }},
       {"processor of the server meanwhile", "ms", [](M m) { return mean(m.replay.server); }},
       {"processor, both, cycle / replay", "",
        [](M m) {
          return (mean(m.cycle.processor) + mean(m.cycle.server)) /
                 (mean(m.replay.processor) + mean(m.replay.server));
        }},
       {"peak memory", "MiB", [](M m) { return m.peak_kib / 1024; }, "below the next"},
       {format("%.0f MiB + %.0f x report", kGoalMemoryMib, kGoalMemoryOfReport), "MiB",
        [](M m) { return kGoalMemoryMib + kGoalMemoryOfReport * m.report_kib / 1024; }},
       {"statements", "", [](M m) { return m.statements; }},
       {"statements while tracing, none from memory", "", [](M m) { return m.traced_statements; }},
       {"processor of the server, replay of those", "ms",
        [](M m) { return mean(m.traced_replay.server); }},
       {"fetched ahead", "", [](M m) { return m.ahead; }},
       {"never taken", "", [](M m) { return m.never_taken; }},
       {"waits for the server", "", [](M m) { return m.waits; }},
       {"stops, the answer not being there yet", "", [](M m) { return m.stops; }},
       {"stopped, all together", "ms", [](M m) { return m.blocked_us / 1e3; }},
       {"processes started", "", [](M m) { return m.processes; }},
       {"wall per item, less start-up", "us", [](M m) { return m.wall_each; }},
       {"processor per item, less start-up", "us", [](M m) { return m.processor_each; }},
       {"wall per item / the smallest's", "", [smallest](M m) { return m.wall_each / smallest; },
        "< 1.25"}});
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
