#pragma once

#include <string>

#include "db/ap.h"
#include "lifecycle/capability.h"

/// An AP has joined from the address `ip`, or has turned out to be back: makes its row in the
/// registry or marks it as connected, tells the controller, and announces an AP that was not
/// recorded as connected (mail, push, connection log). Of `capability` a new AP gets both parts, a
/// known one the refreshed part. An AP whose firmware image is pending stays recorded as not
/// connected until the update is through.
///
/// When two processes register the same new AP at once, the one that comes second finds its row
/// made and goes on as for a known AP, without announcing it again. The MAC has to be well formed.
void ap_up_register(Ap& ap, const std::string& ip, const Capability& capability);

/// Brings an AP back that reports from the address `ip` while it is recorded as not connected and
/// nothing has been ordered for it: lifts its blocks and has it join again, without a capability
/// file. The MAC has to be well formed.
void checkConnectionStatus(Ap& ap, const std::string& ip);
