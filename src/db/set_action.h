#pragma once

#include <optional>
#include <string>

#include "db/ap.h"
#include "db/schema.h"

/// Records that `action` has been ordered for the AP, and with it that the AP is not connected, has
/// no address, and which firmware image is pending (a path; none: none). Does nothing for an AP
/// that is not registered. `caller` is only for the trace.
void setAction(Ap& ap, ApAction action, const std::optional<std::string>& fw_upgrade,
               const char* caller);
