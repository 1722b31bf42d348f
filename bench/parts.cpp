#include <benchmark/benchmark.h>

#include <map>

#include "db/connection.h"
#include "db/schema.h"
#include "figures.h"
#include "kit/files.h"
#include "platform/text.h"
#include "reports/report.h"
#include "sections.h"
#include "trace/trace_log.h"
#include "values/channel_table.h"
#include "values/shell_word.h"

namespace {

constexpr const char* kReport = "/tmp/bench-report.ini";
const std::string kNoKey;

std::string write_report(ReportSize size) {
  kit::write_file(kReport, report_text(crowded(size)));
  return kReport;
}

void load(benchmark::State& state, ReportSize size) {
  const std::string path = write_report(size);
  for (auto _ : state) {
    benchmark::DoNotOptimize(Report::load(path, kNoKey));
  }
}

/// Looks all keys of a kind of sections up, on both bands, up to the first that lacks the first key.
void look_up(const Report& report, const std::string& kind, const kit::Words& keys) {
  for (const char* band : {"", "5G "}) {
    for (int n = 1;; ++n) {
      const std::string section = kind + M("%s%02d", band, n);
      if (!report.text(section, keys.front().c_str())) {
        break;
      }
      for (const std::string& key : keys) {
        benchmark::DoNotOptimize(report.text(section, key.c_str()));
      }
    }
  }
}

/// Every key of every station and heard radio, as the parsers ask for them.
void look_all_up(benchmark::State& state, ReportSize size) {
  const std::optional<Report> report = Report::load(write_report(size), kNoKey);
  for (auto _ : state) {
    for (int slot = 1; slot <= 8; ++slot) {
      look_up(*report, M("%02d client ", slot),
              {"ADDR", "AID", "CHAN", "RSSI", "IDLE", "TXSEQ", "RXSEQ", "RATE", "RXRATE"});
    }
    look_up(
        *report, "Cell ",
        {"Address", "ESSID", "Mode", "Frequency", "Quality", "Signal", "Noise", "Encryption_key"});
  }
}

void format_statement(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(statement(
        "UPDATE `%s`.`AP_%03d` SET `utime`=NOW(), `ssid`='%u', `aid`='%u', `channel`='%u', "
        "`tx_rate`='%s', `rx_rate`='%s', `rssi`='%d', `idle`='%u', `tx_seq`='%u', "
        "`rx_seq`='%u', `confirm`='1' WHERE `mac`=UPPER('%s')",
        AP_CLIENT, 17, 2U, 31U, 36U, "585M", "433M", 41, 3U, 1557U, 20176U, "06:b0:00:01:00:07"));
  }
}

void escape(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(SqlText::escaped("O'Neill's \"Guest\" network"));
  }
}

void quote_word(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(shell_word("O'Neill's \"Guest\" network"));
  }
}

void trace_off(benchmark::State& state) {
  for (auto _ : state) {
    ap_debug_log({"bench", kNoKey}, "%s %d", "a line that nobody wants", 1);
  }
}

void find_channel(benchmark::State& state) {
  for (auto _ : state) {
    benchmark::DoNotOptimize(frequency_to_channel(Band::five_ghz, "5.745 GHz"));
  }
}

/// Keeps the time of each run under the benchmark's name.
class Collector : public benchmark::BenchmarkReporter {
 public:
  bool ReportContext(const Context& /*context*/) override { return true; }

  void ReportRuns(const std::vector<Run>& runs) override {
    for (const Run& run : runs) {
      if (run.run_type == Run::RT_Iteration) {
        times_[run.run_name.function_name].push_back(run.GetAdjustedCPUTime());
      }
    }
  }

  /// Median in ns of the processor's time.
  double time(const std::string& name) { return median(times_[name]); }

 private:
  std::map<std::string, std::vector<double>> times_;
};

void run_all(Collector& collector, Effort effort) {
  std::vector<std::string> words{
      "bench-driver",
      effort == Effort::quick ? "--benchmark_min_time=0.02" : "--benchmark_min_time=0.2",
      effort == Effort::quick ? "--benchmark_repetitions=3" : "--benchmark_repetitions=7"};
  std::vector<char*> pointers;
  pointers.reserve(words.size());
  for (std::string& word : words) {
    pointers.push_back(word.data());
  }
  int count = static_cast<int>(pointers.size());
  benchmark::Initialize(&count, pointers.data());
  benchmark::RunSpecifiedBenchmarks(&collector);
  benchmark::ClearRegisteredBenchmarks();
}

}  // namespace

Section measure_parts_by_size(Effort effort) {
  say("parts of a process, by size");
  for (const ReportSize size : kSizes) {
    benchmark::RegisterBenchmark(("load " + as_text(size)).c_str(), load, size);
    benchmark::RegisterBenchmark(("look up " + as_text(size)).c_str(), look_all_up, size);
  }
  Collector collector;
  run_all(collector, effort);

  Section section{"Within one process, by stations/heard radios", {}, {}, ""};
  FigureRow loads{"report loaded and indexed", "ms", {}, ""};
  FigureRow look_ups{"all its keys looked up", "ms", {}, ""};
  FigureRow load_each{"loading, per item", "us", {}, ""};
  FigureRow look_up_each{"look-ups, per item", "us", {}, ""};
  for (const ReportSize size : kSizes) {
    const double items = size.stations + size.radios;
    const double loading = collector.time("load " + as_text(size));
    const double looking_up = collector.time("look up " + as_text(size));
    section.columns.push_back(as_text(size));
    loads.cells.emplace_back(loading / 1e6);
    load_each.cells.emplace_back(loading / 1e3 / items);
    look_ups.cells.emplace_back(looking_up / 1e6);
    look_up_each.cells.emplace_back(looking_up / 1e3 / items);
  }
  section.rows = {loads, load_each, look_ups, look_up_each};
  section.note =
      "Compare the columns: what a report costs per item should not grow with the report.";
  return section;
}

Section measure_parts(Effort effort) {
  say("parts of a process");
  struct Part {
    const char* label;
    void (*run)(benchmark::State&);
  };
  const std::vector<Part> parts{{"statement formatted (250 bytes)", format_statement},
                                {"SSID escaped (25 bytes, 4 quotes)", escape},
                                {"word quoted for the shell", quote_word},
                                {"trace line while tracing is off", trace_off},
                                {"frequency to channel, last but few", find_channel}};
  for (const Part& part : parts) {
    benchmark::RegisterBenchmark(part.label, part.run);
  }
  Collector collector;
  run_all(collector, effort);
  Section section{"Within one process", {"processor"}, {}, ""};
  for (const Part& part : parts) {
    section.rows.push_back({part.label, "ns", {collector.time(part.label)}, ""});
  }
  section.note = "Compare with a wait for the server, which takes some 50,000 ns.";
  return section;
}
