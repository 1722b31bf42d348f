#include <benchmark/benchmark.h>

#include <map>

#include "db/connection.h"
#include "db/schema.h"
#include "figures.h"
#include "kit/files.h"
#include "reports/report.h"
#include "sections.h"
#include "trace/trace_log.h"
#include "values/channel_table.h"
#include "values/shell_word.h"

namespace {

using kit::format;

const std::string kNoKey;

/// Writes a report of the size that the arguments say; its path.
std::string write_report(const benchmark::State& state) {
  const ReportSize size{static_cast<int>(state.range(0)), static_cast<int>(state.range(1))};
  std::string path = "/tmp/bench-report.ini";
  kit::write_file(path, report_text(crowded(size)));
  return path;
}

void load(benchmark::State& state) {
  const std::string path = write_report(state);
  for (auto _ : state) {
    benchmark::DoNotOptimize(Report::load(path, kNoKey));
  }
}

using Keys = std::initializer_list<const char*>;

/// Looks up the keys of a numbered list, up to the section that lacks `first`.
void look_up_list(const Report& report, const std::string& kind, const char* first, Keys numbers,
                  Keys texts) {
  for (int n = 1;; ++n) {
    const ReportSection section{report, kind + format("%02d", n)};
    if (!report.text(section.name, first)) {
      break;
    }
    for (const char* key : numbers) {
      benchmark::DoNotOptimize(section.number<std::int32_t>(key));
    }
    for (const char* key : texts) {
      benchmark::DoNotOptimize(report.text(section.name, key));
    }
  }
}

/// Every key of every station and heard radio, as the parsers ask for them.
void look_up(benchmark::State& state) {
  const std::optional<Report> report = Report::load(write_report(state), kNoKey);
  for (auto _ : state) {
    for (const std::string band : {"", "5G "}) {
      for (int slot = 1; slot <= 8; ++slot) {
        look_up_list(*report, format("%02d client ", slot) + band, "ADDR",
                     {"AID", "CHAN", "RSSI", "IDLE", "TXSEQ", "RXSEQ"}, {"RATE", "RXRATE"});
      }
      look_up_list(*report, "Cell " + band, "Address", {},
                   {"ESSID", "Mode", "Frequency", "Quality", "Signal", "Noise", "Encryption_key"});
    }
  }
}

/// Measures a call.
template <auto call>
void repeat(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(call());
  }
}

/// Runs benchmarks and keeps the times of each under its name.
class Collector : public benchmark::BenchmarkReporter {
 public:
  explicit Collector(Effort effort) : quick_(effort == Effort::quick) {}

  benchmark::internal::Benchmark* add(const std::string& name,
                                      void (*part)(benchmark::State&)) const {
    return benchmark::RegisterBenchmark(name.c_str(), part)
        ->MinTime(quick_ ? 0.02 : 0.2)
        ->Repetitions(quick_ ? 3 : 7);
  }

  void run() {
    benchmark::RunSpecifiedBenchmarks(this);
    benchmark::ClearRegisteredBenchmarks();
  }

  /// Median in ns of the processor's time.
  double time(const std::string& name) { return median(times_[name]); }

  bool ReportContext(const Context& /*context*/) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration) {
        times_[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
      }
    }
  }

 private:
  bool quick_;
  std::map<std::string, std::vector<double>> times_;
};

}  // namespace

Section measure_parts_by_size(Bench& bench) {
  say("parts of a process, by size");
  Collector collector(bench.effort);
  Section section{"Within one process, by stations/heard radios", {}, {}, ""};
  std::vector<ReportSize> sizes(kSizes.begin(), kSizes.end());
  for (const ReportSize size : sizes) {
    collector.add("load " + as_text(size), load)->Args({size.stations, size.radios});
    collector.add("look up " + as_text(size), look_up)->Args({size.stations, size.radios});
    section.columns.push_back(as_text(size));
  }
  collector.run();
  const auto loading = [&](ReportSize size) { return collector.time("load " + as_text(size)); };
  const auto looking = [&](ReportSize size) { return collector.time("look up " + as_text(size)); };
  const auto items = [](ReportSize size) { return size.stations + size.radios; };
  section.rows = rows_of<ReportSize>(
      sizes,
      {{"report loaded and indexed", "ms", [&](auto size) { return loading(size) / 1e6; }},
       {"loading, per item", "us", [&](auto size) { return loading(size) / 1e3 / items(size); }},
       {"all its keys looked up", "ms", [&](auto size) { return looking(size) / 1e6; }},
       {"look-ups, per item", "us", [&](auto size) { return looking(size) / 1e3 / items(size); }}});
  section.note =
      "Compare the columns: what a report costs per item should not grow with the report.";
  return section;
}

Section measure_parts(Bench& bench) {
  say("parts of a process");
  Collector collector(bench.effort);
  const std::vector<std::pair<const char*, void (*)(benchmark::State&)>> parts{
      {"statement formatted (250 bytes)", repeat<[] {
         return statement(
             "UPDATE `%s`.`AP_%03d` SET `utime`=NOW(), `ssid`='%u', `aid`='%u', `channel`='%u', "
             "`tx_rate`='%s', `rx_rate`='%s', `rssi`='%d', `idle`='%u', `tx_seq`='%u', "
             "`rx_seq`='%u', `confirm`='1' WHERE `mac`=UPPER('%s')",
             AP_CLIENT, 17, 2U, 31U, 36U, "585M", "433M", 41, 3U, 1557U, 20176U,
             "06:b0:00:01:00:07");
       }>},
      {"SSID escaped (25 bytes, 4 quotes)",
       repeat<[] { return SqlText::escaped("O'Neill's \"Guest\" network"); }>},
      {"word quoted for the shell",
       repeat<[] { return shell_word("O'Neill's \"Guest\" network"); }>},
      {"trace line while tracing is off", repeat<[] {
         ap_debug_log({"bench", kNoKey}, "%s %d", "a line that nobody wants", 1);
         return 0;
       }>},
      {"frequency to channel, last but few",
       repeat<[] { return frequency_to_channel(Band::five_ghz, "5.745 GHz"); }>}};
  for (const auto& [label, part] : parts) {
    collector.add(label, part);
  }
  collector.run();
  Section section{"Within one process", {"processor"}, {}, ""};
  for (const auto& [label, part] : parts) {
    section.rows.push_back({label, "ns", {collector.time(label)}});
  }
  section.note = "Compare with a wait for the server, which takes some 50,000 ns.";
  return section;
}
