#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

/// What a process took, from its start until it was gone.
struct Usage {
  double wall_ms;
  double processor_ms;  // user and system, with the children that it waited for
  double peak_kib;      // largest resident set
  int status;           // as wait reports it; 0 for a good end
};

/// A small process that starts others. The kernel counts the memory of the process that starts a
/// program into the program's own peak, so the driver, which grows, must not start what it
/// measures. One launcher runs one program at a time.
class Launcher {
 public:
  Launcher();
  ~Launcher();
  Launcher(Launcher&& other) noexcept;
  Launcher(const Launcher&) = delete;
  Launcher& operator=(const Launcher&) = delete;

  /// Runs the program words[0] with the arguments `words` in the driver's environment with the
  /// variables `environment` ("NAME=value") before it.
  Usage run(const std::vector<std::string>& words,
            const std::vector<std::string>& environment = {}) const;

 private:
  int request_ = -1;
  int answer_ = -1;
  pid_t process_ = -1;
};
