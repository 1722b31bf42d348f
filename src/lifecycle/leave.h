#pragma once

#include "db/ap.h"

/// An AP has left: unless it joined less than 80 seconds ago, its row says that it is away, the
/// controller is told and the leave is announced (mail, push, connection log). In any case what it
/// heard is withdrawn, its own radios and mesh links are forgotten, and the command that waits for
/// it goes, so that it is not carried out when the AP comes back; without the database only that.
/// The MAC has to be well formed.
void ap_down_record(Ap& ap);
