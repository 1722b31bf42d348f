#pragma once

#include <string>
#include <vector>

#include "kit/sql.h"

namespace lab {

/// Runs a statement in the appliance's database, over a connection of its own. A failure throws
/// std::runtime_error.
std::vector<kit::SqlRow> query(const std::string& statement);

/// Gives the SSIDs the profile numbers 1, 2, ... and makes them the profiles of every new AP;
/// `settings` are lines "number = value" for the program.
void set_up_appliance(const std::vector<std::string>& ssids, const std::string& settings);

}  // namespace lab
