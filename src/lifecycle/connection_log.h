#pragma once

#include <optional>
#include <string>

#include "db/connection.h"

/// Writes `message` into the day's connection log, as a row of the table that `type` (an index of
/// CONNTRACK_LOG_TABLE) names, and forwards it in the background to the log service, under the
/// priority number of setting 121 and as AP-controller log whatever `type` is. A message that
/// cannot be escaped is only forwarded, none does nothing. The forwarded text has no length limit.
void ap_connection_log(Connection& db, const std::optional<std::string>& message, int type);
