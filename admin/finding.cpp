#include "finding.h"

#include <algorithm>
#include <iterator>

int exit_status(const Findings& findings) {
  const bool problem = std::any_of(findings.begin(), findings.end(), [](const Finding& finding) {
    return finding.severity == Severity::problem;
  });
  return problem ? 2 : findings.empty() ? 0 : 1;
}

void add(Findings& findings, Findings more) {
  findings.insert(findings.end(), std::make_move_iterator(more.begin()),
                  std::make_move_iterator(more.end()));
}
