#pragma once

#include <string>

// The AP lock file: one empty file per AP, /database/ap/lock/<MAC>, that says that a report of this
// AP is being processed. The MAC has to be well formed (is_mac), because it names the file.

enum class Lock { held_by_another, taken };

/// Takes the AP's lock unless it is younger than 600 seconds. Testing and taking are two steps: two
/// reports that arrive in the same moment may both take it.
Lock ap_lock_take(const std::string& mac);

/// Removes the AP's lock; a missing one is no error.
void ap_lock_remove(const std::string& mac);
