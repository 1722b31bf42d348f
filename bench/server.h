#pragma once

#include <mysql.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "general_log.h"

/// The appliance's database server, from the side.
class Server {
 public:
  /// Connects; ends the driver when that fails.
  Server();

  /// Runs a statement; ends the driver when it fails. Its rows, NULL as an empty text.
  std::vector<std::vector<std::string>> sql(std::string_view statement);

  /// Empties every table that the program writes and drops the tables of the single APs.
  void reset();

  /// What connections that begin from now on send is logged.
  void start_log();

  /// The connections that have begun and what came over them.
  std::vector<LoggedConnection> stop_log();

  /// User and system time of the server so far, in ms; the kernel counts it in steps of 10.
  double processor_ms() const;

 private:
  std::unique_ptr<MYSQL, void (*)(MYSQL*)> mysql_;
  std::string process_;
};
