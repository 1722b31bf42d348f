#pragma once

#include <string>

/// Works off the report file `path` (held to 255 bytes) that the AP with this address and MAC has
/// delivered, and queues the command that answers it. The MAC has to be well formed. Ends at once
/// while the AP's lock is held; a path that names no regular file leaves everything as it is. The
/// file is removed unless /database/ap/radar/debug exists.
void report_cycle(const std::string& path, const std::string& ip, const std::string& mac);
