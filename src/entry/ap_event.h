#pragma once

#include <string>

#include "db/connection.h"

/// Writes "AP <name> <what>" into the connection log of the AP controller; the MAC stands in for
/// the name of an AP that has none.
void log_ap_event(Connection& db, const std::string& mac, const char* what);
