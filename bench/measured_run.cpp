#include "measured_run.h"

#include <cstdio>
#include <stdexcept>

kit::Child start_measured(const kit::Words& words, int gate, const kit::Pipe& said) {
  kit::Words starter{"/build/bin/bench-starter"};
  starter.insert(starter.end(), words.begin(), words.end());
  return kit::Child({starter.front(), starter, {}, gate, said.write_end()});
}

kit::Usage measured_run(const kit::Words& words) {
  kit::Pipe said;
  kit::Child child = start_measured(words, -1, said);
  const kit::Usage usage = usage_of(said.rest());
  child.finish();
  if (usage.status != 0) {
    throw std::runtime_error(words.front() + kit::format(" ended with status %d", usage.status));
  }
  return usage;
}

kit::Usage usage_of(const std::string& line) {
  kit::Usage usage{};
  if (std::sscanf(line.c_str(), "%d %lf %lf %lf", &usage.status, &usage.wall_ms,
                  &usage.processor_ms, &usage.peak_kib) != 4) {
    throw std::runtime_error("instead of a measured process: " + line);
  }
  return usage;
}
