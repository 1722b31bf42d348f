#pragma once

#include <cstdint>
#include <string>
#include <vector>

// Reports as APs write them, made up from numbers: the same numbers give the same bytes.

/// How much an AP reports: its stations and the radios that it hears.
struct ReportSize {
  int stations;
  int radios;
};

/// One report. APs are numbered from 1 and have six radios each: three SSIDs on two bands.
struct ReportPlan {
  int ap;
  ReportSize size;
  /// The managed APs that it hears, the first two above -70 dBm, the others below. Their radios
  /// take up at most a sixth of the radios heard; the rest is foreign.
  std::vector<int> neighbours;
  /// The foreign radios that it hears are numbered from here.
  int first_foreign;
};

inline constexpr int kRadiosOfAnAp = 6;

std::string ap_mac(int ap);
std::string ap_address(int ap);

/// The MAC of the n-th station of an AP, lower case as APs report it.
std::string station_mac(int ap, int n);

/// The report as the text of an INI file.
std::string report_text(const ReportPlan& plan);

/// AP 1 with as many neighbours, from AP 2 on, as are heard in a report of that size.
ReportPlan crowded(ReportSize size);
