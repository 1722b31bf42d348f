#pragma once

#include <string>

#include "db/ap.h"

/// Stores the report file `path` (cut to 255 bytes) that the AP has delivered from the address `ip`,
/// queues the command that answers it, and removes the file unless /database/ap/radar/debug exists.
/// Does nothing while the AP's lock is held, or when the path names no regular file. The AP's MAC has
/// to be well formed.
void report_cycle(Ap& ap, const std::string& path, const std::string& ip);
