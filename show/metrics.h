#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "show/view.h"

// The state of the site as numbers, for monitoring.

namespace show {

struct Sample {
  std::string name;    // the metric's, with the ending that a histogram needs
  std::string labels;  // as in `state="gone"`; empty for none
  std::int64_t value;
};

struct Metric {
  const char* name;
  const char* type;
  const char* help;
  std::vector<Sample> samples;
};

/// All metrics. Without the database, those that come from files, and the one that says it is down.
/// Throws Unavailable when a directory cannot be read.
std::vector<Metric> site_metrics();

/// In the text format of Prometheus.
std::string as_exposition(const std::vector<Metric>& metrics);

View as_view(const std::vector<Metric>& metrics);

}  // namespace show
