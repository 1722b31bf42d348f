#pragma once

#include <string>
#include <vector>

// What must be known of the database's option file before the client library reads it.

/// A server of the list in `host=a:3306,b:3306`.
struct DatabaseHost {
  std::string name;       // empty: wherever the library goes by itself
  unsigned int port = 0;  // 0: as the option file has it
};

/// The servers to try, in this order: those that the option file lists; without a list a single one
/// without a name. A list in an included file counts as one name.
std::vector<DatabaseHost> database_hosts();

/// Whether the option file may ask for TLS: a line contains "ssl" or "tls", or includes another file.
bool may_ask_for_tls();
