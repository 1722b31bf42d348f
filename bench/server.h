#pragma once

#include <sys/types.h>

#include <ctime>
#include <functional>
#include <string>
#include <vector>

#include "kit/sql.h"

/// The appliance's database server, observed from outside.
class Server : public kit::Database {
 public:
  Server();

  /// The statements that arrive, over connections that begin, while `doing` runs: byte for byte, in
  /// the order of the connections.
  std::vector<std::string> statements_of(const std::function<void()>& doing);

  /// How many statements it has carried out so far; asking counts as one.
  double statements() { return status("Questions"); }

  /// User and system time so far.
  double processor_ms() const;

  /// Its resident memory, in MiB, and the files that it has open.
  double memory_mib() const;
  int open_files() const;

 private:
  std::string process_;
  clockid_t processor_clock_ = 0;
};
