#pragma once

#include "db/ap.h"

/// Writes "AP <name> <what>" into the connection log of the AP controller; the MAC stands in for
/// the name of an AP that has none.
void log_ap_event(Ap& ap, const char* what);
