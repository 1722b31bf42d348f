#pragma once

#include <optional>
#include <string>
#include <vector>

namespace lab {

/// A command file, as an AP understands it.
struct Command {
  int type = 0;  // 0: none given
  std::vector<std::string> kick;
  std::vector<std::string> block;
  std::vector<std::string> release;
  std::optional<int> auto_rf;  // -1 step down, 1 step up, 0 the feature is off
  std::optional<int> filter_mode;
  std::vector<std::string> filter_addresses;
  std::string file;  // to fetch
};
inline constexpr int kReboot = 2;
inline constexpr int kFirmware = 3;
inline constexpr int kReleaseAll = 5;

/// Reads a command file's text. Keys that an AP does not know are passed over.
Command parse_command(const std::string& text);

}  // namespace lab
