#pragma once

#include <cstdint>
#include <string>

/// A command to the program, the first argument of `ap-command`, or to an AP, the `type` line of a
/// command file. Numbers 0, 6 and 7 mean nothing.
enum class CommandType : std::int64_t {
  report = 1,       // store a report and answer it
  reboot = 2,       // reboot the AP
  firmware = 3,     // update its firmware
  steering = 4,     // release, disconnect and refuse stations; in files only
  release_all = 5,  // refuse nobody any more
  sync = 8,         // bring its sync file; as an argument: resume what waits for the AP
  disconnect_tool = 9,
  mark_updating = 10,
};

/// The number of the type, as it is written.
inline std::string number_of(CommandType type) {
  return std::to_string(static_cast<std::int64_t>(type));
}
