#include "figures.h"
#include "measured_run.h"
#include "sections.h"

namespace {

struct Candidate {
  const char* label;
  kit::Words words;
  std::vector<double> wall{}, processor{}, beyond_empty{};
  double peak_kib = 0;
};

}  // namespace

Section measure_start_up(Bench& bench) {
  say("start-up");
  std::vector<Candidate> candidates{
      {"/bin/true", {"/bin/true"}},
      {"empty C++ program, C++ runtime linked in", {"/build/bin/bench-empty"}},
      {"empty C++ program", {"/build/bin/bench-empty-shared"}},
      {"ap-history", {"/usr/sbin/ap-history", "bench"}}};
  const int rounds = bench.effort == Effort::quick ? 100 : 600;
  for (int round = 0; round < rounds; ++round) {
    // One after the other, so that what else the machine does meets all of them.
    for (Candidate& candidate : candidates) {
      const kit::Usage usage = measured_run(candidate.words);
      candidate.wall.push_back(usage.wall_ms);
      candidate.processor.push_back(usage.processor_ms);
      candidate.peak_kib = usage.peak_kib;
    }
    for (Candidate& candidate : candidates) {
      candidate.beyond_empty.push_back(candidate.wall.back() - candidates[1].wall.back());
    }
  }

  const Candidate& hook = candidates.back();
  bench.start_up = {median(hook.wall), median(hook.processor)};
  Section section{"Start-up", {"median", "least", "processor", "peak MiB", "to empty"}, {}, ""};
  for (const Candidate& candidate : candidates) {
    section.rows.push_back(
        {candidate.label,
         "ms",
         {median(candidate.wall), least(candidate.wall), median(candidate.processor),
          candidate.peak_kib / 1024, median(candidate.beyond_empty)}});
  }
  section.note = kit::format(
      "Compare ap-history with the program above it. \"to empty\" is the median difference of pairs "
      "run one after the other,\nto the empty program with the C++ runtime linked in, as ap-history "
      "has it. %d rounds.",
      rounds);
  return section;
}
