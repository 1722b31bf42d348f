#pragma once

#include <string>

#include "db/ap.h"
#include "lifecycle/capability.h"

/// Records that the AP has joined from the address `ip`: makes its row in the registry or marks it as
/// connected, tells the controller, and announces an AP that was not recorded as connected (mail, push,
/// connection log). Of `capability` a new AP gets both parts, a known one the refreshed part. An AP
/// with a pending firmware image stays recorded as not connected until the update is done.
///
/// When two processes register the same new AP at once, the second finds the row and treats the AP as
/// known, without announcing it again. The MAC has to be well formed.
void ap_up_register(Ap& ap, const std::string& ip, const Capability& capability);

/// For an AP that reports from the address `ip`, but is recorded as not connected with no action
/// ordered: lifts its blocks and registers it again, without a capability file. The MAC has to be well
/// formed.
void checkConnectionStatus(Ap& ap, const std::string& ip);
