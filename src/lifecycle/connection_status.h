#pragma once

#include <string>

#include "db/ap.h"

/// Brings an AP back that reports from the address `ip` while it is recorded as not connected and
/// nothing has been ordered for it: lifts its blocks and has it join again, without a capability
/// file. The MAC has to be well formed.
void checkConnectionStatus(Ap& ap, const std::string& ip);
