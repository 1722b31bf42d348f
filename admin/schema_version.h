#pragma once

#include <string>

#include "db/connection.h"
#include "finding.h"

// The version of the schema, which is in the comment of AP_INFO.ap_list.

/// The number after "schema version"; 1 without one.
int schema_version(const std::string& table_comment);

/// What it means that the server's schema has version `found`, that the program needs `needed` at
/// least, and that the shipped files make `shipped`.
Findings compare_versions(int found, int needed, int shipped);

/// Compares the server's version with that of the shipped files. Nothing without the table.
Findings check_schema_version(Connection& db);
