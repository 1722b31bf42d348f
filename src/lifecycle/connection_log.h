#pragma once

#include <string>

#include "db/ap.h"

/// Writes `message` into the day's connection log of the AP controller and forwards it in the
/// background to the log service, under the priority number of setting 121. Neither has a length
/// limit.
void ap_connection_log(Ap& ap, const std::string& message);
