#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "ini/ini_file.h"

/// A file that an AP delivered (a report, a capability file). A value is addressed by section and key,
/// in either case. The values stay the report's. The limits are far above any real report; they keep a
/// faulty AP from filling memory.
class Report {
 public:
  static constexpr std::int64_t kMostBytes = 1'048'576;
  static constexpr std::int64_t kMostLines = 65'536;

  /// Loads the regular file `path`, which must not be a link. None when it cannot be read, is larger
  /// than kMostBytes or kMostLines, or holds a line that iniparser refuses (1023 bytes or more, a
  /// NUL, no "="); the reason is
  /// traced under `key`, the AP's MAC, and reported as a loss.
  static std::optional<Report> load(const std::string& path, const std::string& key);

  /// The value of `key` in `section`, possibly empty; none when it is absent, or exactly the
  /// missing-value marker "^o^". Of a key that appears twice in a section, the later value.
  std::optional<std::string_view> text(std::string_view section, std::string_view key) const;

  /// The value as a number, 0 when absent or without digits: decimal, hexadecimal after "0x", octal
  /// after "0". Reading stops at the first other character; a number out of range keeps its low 32
  /// bits, and one beyond 64 bits is first taken for the nearest that fits.
  std::int32_t number(std::string_view section, std::string_view key) const;
  std::uint32_t unsigned_number(std::string_view section, std::string_view key) const;

  /// The same with 64 bits.
  std::uint64_t unsigned64_number(std::string_view section, std::string_view key) const;

 private:
  explicit Report(IniFile values) : values_(std::move(values)) {}

  /// The value's text, which ends with a NUL; null when there is none.
  const char* find(std::string_view section, std::string_view key) const;

  IniFile values_;
};
