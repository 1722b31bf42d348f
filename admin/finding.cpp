#include "finding.h"

#include <algorithm>
#include <iterator>

int exit_status(const Findings& findings) {
  Severity worst = Severity::note;
  for (const Finding& finding : findings) {
    worst = std::max(worst, finding.severity);
  }
  return static_cast<int>(worst);
}

Findings amiss(std::initializer_list<Check> checks) {
  Findings findings;
  for (const Check& check : checks) {
    if (check.amiss) {
      findings.push_back(check.finding);
    }
  }
  return findings;
}

void add(Findings& findings, Findings more) {
  findings.insert(findings.end(), std::make_move_iterator(more.begin()),
                  std::make_move_iterator(more.end()));
}

std::string counted(std::uint64_t number, const char* noun) {
  return std::to_string(number) + " " + noun + (number == 1 ? "" : "s");
}
