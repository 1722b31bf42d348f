#pragma once

#include <string>

#include "db/ap.h"

// Firmware updates and the update tool. An AP that can fetch files itself is offered the file; for the
// others the update tool is started, after a running one of the same AP has been stopped. A tool may
// take minutes or never end, so no database connection is kept meanwhile. MACs have to be well formed
// (is_mac) except in disconnect_tool.

/// Updates the AP's firmware from the file `firmware` (a path) and records the update as pending.
/// Waits for the update tool. Does nothing when the path names no regular file.
void update_firmware(Ap& ap, const std::string& firmware);

/// Resumes what is pending for the AP with this address: its firmware, in a child process, for which it
/// waits; or else its sync file, which the update tool sends in the background. A pending firmware
/// whose file is missing is cleared.
void check_updates(Ap& ap, const std::string& ip);

/// Tells the update tool, in the background, to disconnect from the AP with this MAC, or for an
/// all-zero MAC from the AP of that `name` (null: none, then nothing is done).
void disconnect_tool(const std::string& mac, const char* name);
