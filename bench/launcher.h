#pragma once

#include <utility>

#include "kit/child.h"

/// A small process that starts others. The kernel counts the memory of the process that starts a
/// program into the program's own peak, so the driver, which grows, must not start what it
/// measures: no peak shows less than the launcher's own, some 2 MiB. One launcher runs one program
/// at a time; what goes wrong throws std::system_error.
class Launcher {
 public:
  Launcher();
  ~Launcher();
  Launcher(const Launcher&) = delete;
  Launcher& operator=(const Launcher&) = delete;

  /// Runs the program words[0] with the arguments `words` in the driver's environment with the
  /// variables `environment` ("NAME=value") before it.
  kit::Usage run(const kit::Words& words, const kit::Words& environment = {}) const;

 private:
  explicit Launcher(std::pair<int, int> ends);

  int socket_ = -1;
  kit::Child process_;
};
