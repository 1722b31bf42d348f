#pragma once

#include <array>

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

struct Bench {
  Effort effort;
  StartUp start_up{};  // known after measure_start_up
  Server server;
};

Section measure_start_up(Bench& bench);

/// Reports of one AP, over and over; after measure_start_up.
Section measure_cycle(Bench& bench);

/// Many APs that report at the same time.
Section measure_at_once(Bench& bench);

/// Fleets of up to ten thousand APs, which takes some ten minutes.
Section measure_fleet(Bench& bench);

/// After a power cut, all APs join at the same moment.
Section measure_storm(Bench& bench);

/// A load-balancing pass at a crowded AP, by the number of managed APs that it hears and of its
/// stations.
Section measure_steering(Bench& bench);

/// Within one process: what is done per byte and key of a report, and per statement.
Section measure_parts_by_size(Bench& bench);
Section measure_parts(Bench& bench);

void say(const std::string& what);
