#pragma once

#include <array>

#include "launcher.h"
#include "report_text.h"
#include "server.h"
#include "table.h"

// The sections of the benchmark. Each measures and returns its part of the table; while it measures
// it says on the standard error output how far it is.

/// How long to measure: `quick` gives a first impression in half a minute.
enum class Effort { quick, full };

/// The sizes of report that are measured.
inline constexpr std::array<ReportSize, 4> kSizes{{{20, 60}, {64, 300}, {128, 600}, {512, 2000}}};
std::string as_text(ReportSize size);

/// What a hook that does nothing takes, in ms.
struct StartUp {
  double wall_ms;
  double processor_ms;
};

/// Fills `start_up`.
Section measure_start_up(Launcher& launcher, Effort effort, StartUp& start_up);

Section measure_cycle(Launcher& launcher, Server& server, Effort effort, const StartUp& start_up);

Section measure_at_once(Server& server, Effort effort);

/// Within one process: what is done per byte and key of a report, and per statement.
Section measure_parts_by_size(Effort effort);
Section measure_parts(Effort effort);

void say(const std::string& what);
