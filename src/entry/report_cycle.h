#pragma once

#include <string>

#include "db/ap.h"

/// Stores the report file `path` (held to 255 bytes) that the AP has delivered from the address `ip`,
/// and queues the command that answers it. The AP's MAC has to be well formed. Ends at once while the
/// AP's lock is held; a path that names no regular file leaves everything as it is. The file is
/// removed unless /database/ap/radar/debug exists.
void report_cycle(Ap& ap, const std::string& path, const std::string& ip);
