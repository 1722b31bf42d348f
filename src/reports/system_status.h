#pragma once

#include <string>

#include "db/ap.h"
#include "reports/report.h"

/// The system status section of a report.
struct system_record {
  std::string mac;      // of the AP, as the report gives it; all zeros when it does not
  std::string cpu;      // utilisation, as the AP words it ("12%"); empty when absent
  std::string memory;   // likewise
  std::string version;  // of the firmware
  std::string uptime;   // as the AP words it
};

/// Reads section "00". Values are cut to 17 (MAC), 9 (cpu, memory), 255 (version) and 31 (uptime)
/// bytes.
system_record read_system_status(const Report& report);

/// Stores the system status in the registry row of the AP that the report names, when its firmware
/// version differs from the stored one; stores nothing when the version is given, but empty. `ap` is
/// the AP that delivered the report. The values are not escaped: a statement that they would break is
/// traced and not sent.
void ap_system_parse(Ap& ap, const Report& report);
