#pragma once

#include <string>

/// What all processors together have done so far, in ms; the kernel counts in steps of 10.
struct Machine {
  double busy_ms;
  double idle_ms;

  static Machine now();

  Machine since(const Machine& before) const {
    return {busy_ms - before.busy_ms, idle_ms - before.idle_ms};
  }
  double all_ms() const { return busy_ms + idle_ms; }
};

/// Number and kind of processors, and the kernel.
std::string machine_name();
