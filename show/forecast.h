#pragma once

#include <optional>
#include <string>

#include "db/ap.h"
#include "steering/findings.h"

namespace show {

/// What the AP would be told if it reported now what it reported last.
struct Forecast {
  Findings found;
  /// Of the command, without its time. Where `found.release_all` is set, a command that lifts all
  /// blocks comes before it.
  std::string lines;
};

/// Runs the rules themselves and undoes what they change: no row and no file is written, and no lock
/// is held for longer than they run. None without a database, or when the connection is lost
/// meanwhile. The caller keeps the trace off.
std::optional<Forecast> forecast(Ap& ap);

}  // namespace show
