#include <thread>

#include "building.h"
#include "figures.h"
#include "kit/child.h"
#include "machine.h"
#include "sections.h"

namespace {

constexpr ReportSize kSize{20, 60};
constexpr int kFleetAtOnce = 8;
/// Foreign radios are numbered along the building; from one AP to the next that many are new.
constexpr int kForeignStep = 5;
/// From one AP that reports to the next; prime to the sizes of all fleets.
constexpr int kStride = 7;

/// A processor counts as the limit when less of it than this is idle.
constexpr double kIdleLimit = 0.15;

struct Round {
  std::string title;
  int aps = 0, at_once = 0, reports = 0;
  double wall_ms = 0, hooks_ms = 0, server_ms = 0, statements = 0, tables_opened = 0;
  double memory_mib = 0;  // of the server, afterwards
  int open_files = 0;     // likewise
  Machine machine{};
  int dropped = 0;
  std::vector<double> each_ms;

  double per_report(double whole) const { return whole / reports; }
  double of_processors(double ms) const { return ms / machine.all_ms() * 100; }
};

/// The reports that one of the workers delivers, and what became of them.
struct Share {
  std::vector<int> aps;
  std::vector<kit::Usage> hooks;
  int dropped = 0;
};

class Fleet {
 public:
  Fleet(Server& server, int size) : server_(server) {
    move_out(server_);
    for (int ap = 1; ap <= size; ++ap) {
      reports_.push_back(
          report_text({ap, kSize, {ap % size + 1, (ap + 1) % size + 1}, ap * kForeignStep}));
    }
  }

  /// `aps` APs from all over the fleet report `rounds` times, `at_once` of them at the same time. No AP
  /// reports twice at the same time.
  Round report(const std::string& title, int at_once, int rounds, int aps) {
    say(title);
    std::vector<Share> shares(static_cast<std::size_t>(at_once));
    for (int round = 0; round < rounds; ++round) {
      for (int i = 0; i < aps; ++i) {
        const int ap = i * kStride % static_cast<int>(reports_.size()) + 1;
        shares[static_cast<std::size_t>(ap % at_once)].aps.push_back(ap);
      }
    }
    Round whole;
    whole.title = title;
    whole.aps = static_cast<int>(reports_.size());
    whole.at_once = at_once;
    whole.reports = aps * rounds;
    const double statements = server_.statements();
    const double server = server_.processor_ms();
    const double opened = server_.status("Opened_tables");
    const Machine before = Machine::now();
    const kit::Stopwatch watch;
    const std::jthread controller(fetch_all_commands);
    std::vector<std::jthread> workers;
    workers.reserve(shares.size());
    for (Share& share : shares) {
      workers.emplace_back([this, &share] { work(share); });
    }
    workers.clear();  // waits for them
    whole.wall_ms = watch.ms();
    whole.machine = Machine::now().since(before);
    whole.server_ms = server_.processor_ms() - server;
    whole.statements = server_.statements() - statements;
    whole.tables_opened = server_.status("Opened_tables") - opened;
    whole.memory_mib = server_.memory_mib();
    whole.open_files = server_.open_files();
    say(kit::format("  %.1f reports per second, %.1f ms of the server each",
                    whole.reports * 1e3 / whole.wall_ms, whole.per_report(whole.server_ms)));
    for (const Share& share : shares) {
      whole.dropped += share.dropped;
      for (const kit::Usage& hook : share.hooks) {
        whole.each_ms.push_back(hook.wall_ms);
        whole.hooks_ms += hook.processor_ms;
      }
    }
    return whole;
  }

 private:
  void work(Share& share) const {
    for (const int ap : share.aps) {
      share.hooks.push_back(kit::run(deliver(ap, reports_[static_cast<std::size_t>(ap - 1)])));
      share.dropped += left_alone(ap) ? 1 : 0;
    }
  }

  Server& server_;
  std::vector<std::string> reports_;
};

const char* limit_of(const Round& round) {
  if (round.machine.idle_ms > kIdleLimit * round.machine.all_ms()) {
    return "waiting";
  }
  const double others_ms = round.machine.busy_ms - round.hooks_ms - round.server_ms;
  if (others_ms > round.hooks_ms && others_ms > round.server_ms) {
    return "others";
  }
  return round.server_ms > round.hooks_ms ? "server" : "hooks";
}

Section table_of(const std::vector<Round>& rounds) {
  Section section{"APs reporting at once, " + as_text(kSize) + " each", {}, {}, ""};
  for (const Round& round : rounds) {
    section.columns.push_back(round.title);
    if (round.dropped > 0) {
      section.note +=
          kit::format("%d reports of \"%s\" were dropped. ", round.dropped, round.title.c_str());
    }
  }
  using R = const Round&;
  section.rows = rows_of<Round>(
      rounds,
      {{"APs", "", [](R r) { return r.aps; }},
       {"at once", "", [](R r) { return r.at_once; }},
       {"reports", "", [](R r) { return r.reports; }},
       {"reports per second", "", [](R r) { return r.reports * 1e3 / r.wall_ms; }},
       {"one report, median", "ms", [](R r) { return median(r.each_ms); }},
       {"one report, slowest of 20", "ms", [](R r) { return quantile(r.each_ms, 0.95); }},
       {"statements per report", "", [](R r) { return r.per_report(r.statements); }},
       {"processor of the hook per report", "ms", [](R r) { return r.per_report(r.hooks_ms); }},
       {"processor of the server per report", "ms", [](R r) { return r.per_report(r.server_ms); }},
       {"processors: hooks", "%", [](R r) { return r.of_processors(r.hooks_ms); }},
       {"processors: server", "%", [](R r) { return r.of_processors(r.server_ms); }},
       {"processors: idle", "%", [](R r) { return r.of_processors(r.machine.idle_ms); }},
       {"limited by", "", limit_of}});
  section.note +=
      "The columns: one, some and all APs of a floor at once; a fleet of which no AP is known yet; "
      "the fleet when all are known.\nCompare the reports per second with what a site needs: 1,000 "
      "APs that report once a minute are 16.7. \"others\" are programs\nthat have nothing to do "
      "with this; what the processors did besides hooks, server and idling went to them and to "
      "starting hooks.";
  return section;
}

}  // namespace

Section measure_at_once(Bench& bench) {
  const bool quick = bench.effort == Effort::quick;
  std::vector<Round> rounds;
  {
    constexpr int kFloor = 32;
    const int times = quick ? 1 : 6;
    Fleet floor(bench.server, kFloor);
    floor.report("a floor of APs moves in", kFleetAtOnce, quick ? 1 : 2, kFloor);
    rounds.push_back(floor.report("one", 1, times, kFloor));
    rounds.push_back(floor.report("some", 8, times, kFloor));
    rounds.push_back(floor.report("all", kFloor, times, kFloor));
  }
  const int size = quick ? 40 : 1000;
  Fleet fleet(bench.server, size);
  rounds.push_back(fleet.report("fleet, new", kFleetAtOnce, 1, size));
  rounds.push_back(fleet.report("fleet", kFleetAtOnce, 1, quick ? size : size / 3));
  return table_of(rounds);
}

Section measure_fleet(Bench& bench) {
  // What a server has unless it is told otherwise.
  const std::string usual =
      "SET GLOBAL innodb_buffer_pool_size=134217728, key_buffer_size=134217728, "
      "table_open_cache=2000, table_definition_cache=400";
  std::vector<Round> rounds;
  const bool quick = bench.effort == Effort::quick;
  for (const int size : quick ? std::vector{100, 300} : std::vector{1000, 3000, 10'000}) {
    bench.server.rows(usual);
    Fleet fleet(bench.server, size);
    fleet.report(kit::format("%d APs move in", size), kFleetAtOnce, 1, size);
    const int reports = quick ? size : 1000;
    rounds.push_back(fleet.report(std::to_string(size), kFleetAtOnce, 1, reports));
    // Two tables an AP, two files each; beyond the limit of files the server lets nobody in.
    bench.server.rows(
        kit::format("SET GLOBAL table_open_cache=LEAST(%d, (@@open_files_limit - 2000) DIV 2), "
                    "table_definition_cache=%d",
                    2 * size + 2000, 2 * size + 1000));
    fleet.report("the caches fill", kFleetAtOnce, 1, size);
    rounds.push_back(
        fleet.report(std::to_string(size) + ", wide caches", kFleetAtOnce, 1, reports));
  }
  using R = const Round&;
  Section section{"Fleets of known APs, " + as_text(kSize) +
                      " each, with the server's usual table caches and with room for all tables",
                  {},
                  {},
                  ""};
  for (const Round& round : rounds) {
    section.columns.push_back(round.title);
  }
  section.rows = rows_of<Round>(
      rounds,
      {{"APs", "", [](R r) { return r.aps; }},
       {"reports per second", "", [](R r) { return r.reports * 1e3 / r.wall_ms; }},
       {"one report, median", "ms", [](R r) { return median(r.each_ms); }},
       {"one report, slowest", "ms", [](R r) { return quantile(r.each_ms, 1); }},
       {"statements per report", "", [](R r) { return r.per_report(r.statements); }},
       {"tables opened per report", "", [](R r) { return r.per_report(r.tables_opened); }},
       {"processor of the hook per report", "ms", [](R r) { return r.per_report(r.hooks_ms); }},
       {"processor of the server per report", "ms", [](R r) { return r.per_report(r.server_ms); }},
       {"memory of the server", "MiB", [](R r) { return r.memory_mib; }},
       {"files open at the server", "", [](R r) { return r.open_files; }},
       {"reports dropped", "", [](R r) { return r.dropped; }}});
  section.note = "Compare the columns: what grows with the fleet is what limits it.";
  return section;
}
