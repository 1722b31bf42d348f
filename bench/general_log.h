#pragma once

#include <string>
#include <string_view>
#include <vector>

/// A connection that the server's general log has seen begin, and the statements that came over it,
/// byte for byte and in their order.
struct LoggedConnection {
  std::string id;
  std::vector<std::string> statements;
};

/// The connections of a general log (log_output FILE) in the order in which they began. Statements
/// of several lines are put together again; connections that began before the log are left out.
std::vector<LoggedConnection> parse_general_log(std::string_view text);
