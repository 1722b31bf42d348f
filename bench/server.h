#pragma once

#include <string>
#include <vector>

#include "kit/files.h"
#include "kit/sql.h"

/// The appliance's database server, from the side.
class Server : public kit::Database {
 public:
  /// Statements that connections send from now on are logged, but for this one's.
  void start_log();

  /// What was logged, byte for byte and in the order in which it arrived.
  std::vector<std::string> stop_log();

  /// Statements that all connections have sent so far.
  double questions() { return status("Questions"); }

  /// User and system time of the server so far, in ms; the kernel counts it in steps of 10.
  double processor_ms() const;

 private:
  std::string process_ = kit::lines_of(kit::content(value("SELECT @@pid_file"))).front();
};
