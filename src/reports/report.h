#pragma once

#include <cstddef>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <utility>

#include "ini/ini_file.h"
#include "values/client_record.h"
#include "values/decimal.h"
#include "values/split.h"

/// A file that an AP delivered (a report, a capability file). A value is addressed by section and key,
/// in either case. The values stay the report's. The limits are far above any real report; they keep a
/// faulty AP from filling memory.
class Report {
 public:
  static constexpr std::size_t kMostBytes = 1'048'576;
  static constexpr std::ptrdiff_t kMostLines = 65'536;

  /// Loads the regular file `path`, which must not be a link. None when it cannot be read, is larger
  /// than kMostBytes or kMostLines, or holds a line that iniparser refuses (1023 bytes or more, a
  /// NUL, no "="); the reason is traced under `key`, the AP's MAC, and reported as a loss.
  static std::optional<Report> load(const std::string& path, const std::string& key);

  /// The value of `key` in `section`, possibly empty; none when it is absent, or exactly the
  /// missing-value marker "^o^". Of a key that appears twice in a section, the later value. It ends
  /// with a NUL.
  std::optional<std::string_view> text(std::string_view section, std::string_view key) const;

 private:
  explicit Report(IniFile values) : values_(std::move(values)) {}

  IniFile values_;
};

/// The length of a value that is not cut.
inline constexpr std::size_t kWhole = std::string::npos;

/// A section of a report. Its values are cut and converted for records.
struct ReportSection {
  const Report& report;
  std::string name;

  /// The value of `key`, cut to `longest` bytes; `absent` when there is none.
  std::string text(const char* key, std::size_t longest, const char* absent) const {
    return std::string(report.text(name, key).value_or(absent).substr(0, longest));
  }

  /// The value as a number, 0 when absent or without digits: decimal, hexadecimal after "0x", octal
  /// after "0". Reading stops at the first other character; a number out of range keeps the low bits
  /// that fit, and one beyond 64 bits is first taken for the nearest that does.
  template <typename Number>
  Number number(const char* key) const {
    const char* digits = report.text(name, key).value_or("0").data();  // all values end with a NUL
    return std::is_signed_v<Number> ? cut_to<Number>(std::strtoll(digits, nullptr, 0))
                                    : cut_to<Number>(std::strtoull(digits, nullptr, 0));
  }

  /// A level such as "-45 dBm": its first word, at most 9 bytes of it; "0" when it is absent.
  std::string level(const char* key) const {
    return stored_text(std::string(first_word(report.text(name, key).value_or("0"), 9)));
  }
};
