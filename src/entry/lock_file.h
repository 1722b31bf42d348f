#pragma once

#include <cstdint>
#include <string>

// The AP lock file: one empty file per AP, /database/ap/lock/<MAC>, that says that a report of this
// AP is being processed. The MAC has to be well formed (is_mac), because it names the file.

/// From this age on, in seconds, a lock is stale: no report takes ten minutes, so the process that made
/// it has died. A lock with a time in the future is stale, too: the clock has been set back since.
inline constexpr std::int64_t kStaleLockAge = 600;

/// Whether a lock that was made at `created` (-1: there is none) still holds at `now`, both in seconds
/// since the epoch.
bool is_lock_held(std::int64_t created, std::int64_t now);

/// Takes the AP's lock; false when it is held. Testing and taking are two steps: two reports that
/// arrive at the same moment may both take it. A lock that cannot be made is reported as a loss and
/// counts as taken.
bool ap_lock_take(const std::string& mac);

/// Removes the AP's lock; a missing one is no error.
void ap_lock_remove(const std::string& mac);
