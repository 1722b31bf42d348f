#pragma once

#include <string>

#include "db/ap.h"

// What the dispatcher does for firmware and the update tool. An AP that can fetch files itself is
// offered the file; for the others the update tool is started, after a running one of the same AP
// has been stopped. A tool may take minutes or never end: no database connection is kept for it.
// MACs have to be well formed (is_mac) except where the tool is only told to disconnect.

/// Updates the AP's firmware from the file `firmware` (a path) and records the update as pending.
/// The update tool is waited for. Does nothing when the path names no regular file.
void update_firmware(Ap& ap, const std::string& firmware);

/// Resumes what waits for the AP with this address: the pending firmware, in a child process that
/// is waited for; or else the AP's sync file, which the update tool brings in the background. A
/// pending firmware whose file has gone is forgotten.
void check_updates(Ap& ap, const std::string& ip);

/// Tells the update tool, in the background, to disconnect from the AP with this MAC, or for an
/// all-zero MAC from the AP of that `name` (null: none, then nothing is done).
void disconnect_tool(const std::string& mac, const char* name);
