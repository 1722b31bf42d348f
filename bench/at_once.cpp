#include <chrono>
#include <numeric>
#include <thread>

#include "building.h"
#include "figures.h"
#include "machine.h"
#include "platform/text.h"
#include "sections.h"

namespace {

constexpr ReportSize kSize{20, 60};
constexpr int kFleetAtOnce = 8;
/// Foreign radios are numbered along the building; from one AP to the next that many are new.
constexpr int kForeignStep = 5;

/// A processor counts as the limit when less of it than this is idle.
constexpr double kIdleLimit = 0.15;

struct Round {
  std::string title;
  double aps = 0, at_once = 0, reports = 0;
  double wall_ms = 0;
  double hooks_ms = 0, server_ms = 0, busy_ms = 0, idle_ms = 0;
  double statements = 0;
  int dropped = 0;
  std::vector<double> each_ms;

  double percent(double ms) const { return ms * 100 / (busy_ms + idle_ms); }
};

/// The APs from `first` in steps of `step` below `end`, each in its turn, `rounds` times.
struct Share {
  int first;
  int step;
  int end;
  int rounds;
};

class Fleet {
 public:
  Fleet(Server& server, int size) : server_(server) {
    server_.clear();
    write_settings();
    server_.rows(kProfiles);
    for (int ap = 1; ap <= size; ++ap) {
      reports_.push_back(
          report_text({ap, kSize, {ap % size + 1, (ap + 1) % size + 1}, ap * kForeignStep}));
    }
  }

  /// The first `aps` APs report `rounds` times, as many of them at once. No AP reports twice at the
  /// same time.
  Round report(const std::string& title, int at_once, int rounds, int aps) {
    say(title);
    std::vector<Launcher> launchers(static_cast<std::size_t>(at_once));
    std::vector<Round> shares(static_cast<std::size_t>(at_once));
    Round whole;
    whole.title = title;
    whole.aps = static_cast<double>(reports_.size());
    whole.at_once = at_once;
    whole.reports = aps * rounds;
    const double statements = server_.questions();
    const double server = server_.processor_ms();
    const Machine machine = Machine::now();
    const auto start = std::chrono::steady_clock::now();
    const std::jthread controller = start_controller();
    std::vector<std::thread> workers;
    for (int i = 0; i < at_once; ++i) {
      const auto at = static_cast<std::size_t>(i);
      workers.emplace_back([&, i, at] {
        work(launchers[at], {i, at_once, aps, rounds}, shares[at]);
      });
    }
    for (std::thread& worker : workers) {
      worker.join();
    }
    whole.wall_ms =
        std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count();
    const Machine after = Machine::now();
    whole.busy_ms = after.busy_ms - machine.busy_ms;
    whole.idle_ms = after.idle_ms - machine.idle_ms;
    whole.server_ms = server_.processor_ms() - server;
    whole.statements = server_.questions() - statements;
    for (const Round& share : shares) {
      whole.hooks_ms += share.hooks_ms;
      whole.dropped += share.dropped;
      whole.each_ms.insert(whole.each_ms.end(), share.each_ms.begin(), share.each_ms.end());
    }
    return whole;
  }

 private:
  void work(Launcher& launcher, Share share, Round& done) {
    for (int round = 0; round < share.rounds; ++round) {
      for (int i = share.first; i < share.end; i += share.step) {
        const kit::Usage usage =
            launcher.run(deliver(i + 1, reports_[static_cast<std::size_t>(i)]));
        done.each_ms.push_back(usage.wall_ms);
        done.hooks_ms += usage.processor_ms;
        done.dropped += left_alone(i + 1) ? 1 : 0;
      }
    }
  }

  Server& server_;
  std::vector<std::string> reports_;
};

std::string limit_of(const Round& round) {
  if (round.idle_ms > kIdleLimit * (round.busy_ms + round.idle_ms)) {
    return "waiting";
  }
  const double others_ms = round.busy_ms - round.hooks_ms - round.server_ms;
  if (others_ms > round.hooks_ms && others_ms > round.server_ms) {
    return "others";
  }
  return round.server_ms > round.hooks_ms ? "server" : "hooks";
}

Section table_of(const std::vector<Round>& rounds) {
  Section section{M("APs reporting at once, %s each", as_text(kSize).c_str()), {}, {}, ""};
  using Of = const Round&;
  add_rows<Round>(
      section, rounds,
      {{"APs", "", [](Of r) -> Cell { return r.aps; }},
       {"at once", "", [](Of r) -> Cell { return r.at_once; }},
       {"reports", "", [](Of r) -> Cell { return r.reports; }},
       {"reports per second", "", [](Of r) -> Cell { return r.reports * 1e3 / r.wall_ms; }},
       {"one report, median", "ms", [](Of r) -> Cell { return median(r.each_ms); }},
       {"one report, slowest of 20", "ms", [](Of r) -> Cell { return quantile(r.each_ms, 0.95); }},
       {"statements per report", "", [](Of r) -> Cell { return r.statements / r.reports; }},
       {"processor of the hook per report", "ms",
        [](Of r) -> Cell { return r.hooks_ms / r.reports; }},
       {"processor of the server per report", "ms",
        [](Of r) -> Cell { return r.server_ms / r.reports; }},
       {"processors: hooks", "%", [](Of r) -> Cell { return r.percent(r.hooks_ms); }},
       {"processors: server", "%", [](Of r) -> Cell { return r.percent(r.server_ms); }},
       {"processors: idle", "%", [](Of r) -> Cell { return r.percent(r.idle_ms); }},
       {"limited by", "", [](Of r) -> Cell { return limit_of(r); }}});
  for (const Round& round : rounds) {
    section.columns.push_back(round.title);
    if (round.dropped > 0) {
      section.note += M("%d reports of \"%s\" were dropped. ", round.dropped, round.title.c_str());
    }
  }
  section.note +=
      "The columns: one, some and all APs of a floor at once; a fleet of which no AP is known yet; "
      "the fleet when all are known.\nCompare the reports per second with what a site needs: 1,000 "
      "APs that report once a minute are 16.7. \"others\" are programs\nthat have nothing to do "
      "with this; what the processors did besides hooks, server and idling went to them and to "
      "starting hooks.";
  return section;
}

}  // namespace

Section measure_at_once(Server& server, Effort effort) {
  const bool quick = effort == Effort::quick;
  std::vector<Round> rounds;
  {
    constexpr int kFloor = 32;
    const int times = quick ? 1 : 6;
    Fleet floor(server, kFloor);
    floor.report("a floor of APs moves in", kFleetAtOnce, quick ? 1 : 2, kFloor);
    rounds.push_back(floor.report("one", 1, times, kFloor));
    rounds.push_back(floor.report("some", 8, times, kFloor));
    rounds.push_back(floor.report("all", kFloor, times, kFloor));
  }
  const int size = quick ? 40 : 1000;
  Fleet fleet(server, size);
  rounds.push_back(fleet.report("fleet, new", kFleetAtOnce, 1, size));
  rounds.push_back(fleet.report("fleet", kFleetAtOnce, 1, quick ? size : size / 3));
  return table_of(rounds);
}
