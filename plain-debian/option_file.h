#pragma once

#include <string>
#include <vector>

// What has to be known of the option file of the database before the client library reads it.

/// A server of the list in `host=a:3306,b:3306`.
struct DatabaseHost {
  std::string name;       // empty: wherever the library goes by itself
  unsigned int port = 0;  // 0: as the option file has it
};

/// The servers to try, in this order. Where the option file names several, these; else a single one
/// without a name. A list in a file that the option file includes counts as one name.
std::vector<DatabaseHost> database_hosts();

/// Whether the option file may ask for TLS: an option whose name or value speaks of it, or another
/// file that is read as well.
bool may_ask_for_tls();
