#include "figures.h"

#include <algorithm>
#include <cmath>
#include <numeric>

double median(std::vector<double> values) {
  return quantile(std::move(values), 0.5);
}

double mean(const std::vector<double>& values) {
  return values.empty() ? 0
                        : std::accumulate(values.begin(), values.end(), 0.0) /
                              static_cast<double>(values.size());
}

double least(std::vector<double> values) {
  return quantile(std::move(values), 0);
}

double quantile(std::vector<double> values, double part) {
  if (values.empty()) {
    return 0;
  }
  const auto at = values.begin() + std::lround(part * static_cast<double>(values.size() - 1));
  std::nth_element(values.begin(), at, values.end());
  return *at;
}
