#pragma once

#include "db/ap.h"

/// Records that the AP has left. Drops its client table (that of AP 0 for an AP that is not
/// registered) and removes its own radios, what it heard and its mesh links. Unless it joined less than
/// 80 seconds ago, marks it as not connected, tells the controller, and announces the leave (mail,
/// push, connection log). Removes the command in its slot, so that it is not carried out when the AP
/// comes back; without the database does only that. The MAC has to be well formed.
void ap_down_record(Ap& ap);
