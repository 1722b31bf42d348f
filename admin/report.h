#pragma once

#include <string>
#include <vector>

#include "database_check.h"
#include "finding.h"
#include "settings_check.h"

/// Everything that ap-check found out.
struct CheckReport {
  std::string version;
  std::vector<Setting> settings;
  Server server;
  Findings findings;
};

/// For people.
std::string as_text(const CheckReport& report);

/// For programs: one JSON object, see ap-check(8).
std::string as_json(const CheckReport& report);
