#pragma once

#include <string>
#include <vector>

#include "building/text.h"

namespace lab {

/// Runs statements in the appliance's database with the server's own command-line client; the rows
/// of all of them, each split at its columns. A failure is told on stderr and yields no rows.
std::vector<Words> query(const std::string& statements);

/// The bytes as a literal, whatever they are.
std::string sql_bytes(const std::string& bytes);

/// Gives the SSIDs the profile numbers 1, 2, ... and makes them the profiles of every new AP;
/// `settings` are lines "number = value" for the program.
void set_up_appliance(const std::vector<std::string>& ssids, const std::string& settings);

}  // namespace lab
