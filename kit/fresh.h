#pragma once

#include "kit/sql.h"

namespace kit {

/// Leaves the appliance as it is before its first event: no rows, none of the program's files, no
/// settings, no calls recorded.
void start_afresh(Database& server);

}  // namespace kit
