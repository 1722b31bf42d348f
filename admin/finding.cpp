#include "finding.h"

#include <algorithm>
#include <iterator>

int exit_status(const Findings& findings) {
  const auto worst = std::max_element(
      findings.begin(), findings.end(),
      [](const Finding& one, const Finding& other) { return one.severity < other.severity; });
  return worst == findings.end() ? 0 : static_cast<int>(worst->severity);
}

void add(Findings& findings, Findings more) {
  findings.insert(findings.end(), std::make_move_iterator(more.begin()),
                  std::make_move_iterator(more.end()));
}
