#pragma once

#include <string>

#include "finding.h"

/// What is known about the server after the checks; empty texts when it was not reached.
struct Server {
  bool reached = false;
  std::string version;
  std::string host;        // the server's own name
  std::string user;        // the user that the server takes the program for
  std::string encryption;  // the cipher of the connection; empty for none
};

struct DatabaseResult {
  Server server;
  Findings findings;
};

/// Connects as the program does, with its option file and under its limits, and looks at tables,
/// rights and settings of the server. Changes nothing.
DatabaseResult check_database();
