#pragma once

#include <string>
#include <vector>

/// Runs a statement on the appliance's server, over a connection of the test's own with latin1 and
/// an empty sql_mode. A failing statement fails the test. Rows come back with NULL as "NULL".
std::vector<std::vector<std::string>> sql(const std::string& statement);

/// The first column of the first row; empty without a row.
std::string sql_value(const std::string& statement);

/// Rows as text: columns joined by "|".
std::vector<std::string> sql_rows(const std::string& statement);

/// Empties every table that the system writes and drops the tables of the single APs.
void reset_database();

/// Forgets the connection, for tests that stop the server.
void disconnect_database();
