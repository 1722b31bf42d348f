#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <vector>

// What a check has to say. A check is a function that returns its findings and changes nothing that
// lasts.

/// `note`: all works, but could do better. `warning`: something is lost or will be, the rest works.
/// `problem`: the program cannot do its work. Their numbers are the exit statuses.
enum class Severity { note, warning, problem };

struct Finding {
  Severity severity;
  std::string name;    // of the check, for scripts: "lock-stale"
  std::string what;    // what was found and what follows from it; may hold any bytes
  std::string advice;  // what to do
};

using Findings = std::vector<Finding>;

/// The exit status for these findings: 0 nothing found but notes, 1 warnings, 2 problems.
int exit_status(const Findings& findings);

/// A finding, if something is amiss.
struct Check {
  bool amiss;
  Finding finding;
};

/// The findings of the checks that are amiss.
Findings amiss(std::initializer_list<Check> checks);

/// Appends `more` to `findings`.
void add(Findings& findings, Findings more);

/// "1 file", "2 files"
std::string counted(std::uint64_t number, const char* noun);
