#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// iniparser's own name for its dictionary. NOLINTNEXTLINE(bugprone-reserved-identifier)
struct _dictionary_;

/// A file that an AP delivered (a report, a capability file), loaded with iniparser. A value is
/// addressed by section and key, in either case. The values stay the report's.
///
/// The time that iniparser takes grows with the square of the number of keys, so it gets the file
/// piece by piece, cut between sections. A report of 512 stations and 2,000 cells (390 kB, 25,000
/// lines) then loads in 0.03 s instead of 0.3 s. The limits are far above any real report; they
/// keep a faulty AP from filling memory.
class Report {
 public:
  static constexpr std::int64_t kMostBytes = 1'048'576;
  static constexpr std::int64_t kMostLines = 65'536;

  /// Loads the regular file `path`, which must not be a link. None when it cannot be read, is larger
  /// than kMostBytes or kMostLines, or holds a line that iniparser refuses (1023 bytes or more, a
  /// NUL, no "="); the reason is traced under `key`, the AP's MAC.
  static std::optional<Report> load(const std::string& path, const std::string& key);

  /// The value of `key` in `section`, possibly empty; none when it is absent, or exactly the
  /// missing-value marker "^o^". Of a key that stands twice in a section the later value.
  std::optional<std::string_view> text(std::string_view section, std::string_view key) const;

  /// The value as a number, 0 when absent or without digits: decimal, hexadecimal after "0x", octal
  /// after "0". Reading stops at the first other character; a number out of range keeps its low 32
  /// bits, and one beyond 64 bits is first taken for the nearest that fits.
  std::int32_t number(std::string_view section, std::string_view key) const;
  std::uint32_t unsigned_number(std::string_view section, std::string_view key) const;

  /// The same with 64 bits.
  std::uint64_t unsigned64_number(std::string_view section, std::string_view key) const;

 private:
  struct Free {
    void operator()(_dictionary_* values) const;
  };

  Report() = default;

  /// Takes over the dictionary of the next piece. A key that stood in an earlier one gets its value.
  void add(_dictionary_* values);

  /// The value's text, which ends with a NUL; null when there is none.
  const char* find(std::string_view section, std::string_view key) const;

  std::vector<std::unique_ptr<_dictionary_, Free>> pieces_;
  // iniparser looks a key up by walking all of them; over a whole report that is the square of its
  // size. The views are of the dictionary's own texts.
  std::unordered_map<std::string_view, const char*> index_;
};
