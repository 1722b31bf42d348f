#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "cluster_check.h"
#include "database_check.h"
#include "finding.h"
#include "settings_check.h"

/// Everything that ap-check found out.
struct CheckReport {
  std::string version;
  std::vector<Setting> settings;
  Server server;
  Findings findings;
  std::vector<Node> nodes{};  // of the database
};

/// For people.
std::string as_text(const CheckReport& report);

/// For programs: one JSON object, see ap-check(8).
std::string as_json(const CheckReport& report);
