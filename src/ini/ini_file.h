#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

// iniparser's own name for its dictionary. NOLINTNEXTLINE(bugprone-reserved-identifier)
struct _dictionary_;

/// The sections and keys of an INI text, as iniparser reads it. Names match in either case; of a key
/// that appears twice in a section, the later value counts. The library keeps no state, and its
/// complaints go nowhere else.
///
/// iniparser 4.2 reads some lines differently from 4.1: in a quoted value, a backslash escapes the
/// character after it; `key=""rest` and `key=''rest` are empty; a section's name ends at the last "]"
/// of its line instead of the first.
///
/// iniparser walks all keys to set or find one, so it gets the text in pieces, and the keys of all are
/// indexed here: a report of 512 stations and 2,000 cells (390 kB, 25,000 lines) loads in 0.03 s
/// instead of 0.3 s.
class IniFile {
 public:
  /// Parses `text`. None when iniparser refuses it (a line of 1023 bytes or more, or one without "="
  /// that is no section), it holds a NUL, memory is short, or iniparser's copy cannot be made or read:
  /// then `complaint` says why, in a line or two with `name` and the line's number.
  static std::optional<IniFile> parse(std::string_view text, const std::string& name,
                                      std::string& complaint);

  /// The value of `key` in `section`, possibly empty; none when it is absent. It ends with a NUL and
  /// is the object's.
  const char* find(std::string_view section, std::string_view key) const;

  /// Calls `visit` with each section, key (both in lower case) and value.
  using Visitor =
      std::function<void(std::string_view section, std::string_view key, std::string_view value)>;
  void for_each(const Visitor& visit) const;

 private:
  struct Free {
    void operator()(_dictionary_* values) const;
  };

  IniFile() = default;

  /// Takes over the dictionary of the next piece, whose values replace those of earlier ones.
  void add(_dictionary_* values);

  std::vector<std::unique_ptr<_dictionary_, Free>> pieces_;
  std::unordered_map<std::string_view, const char*> index_;  // by "section:key", texts of `pieces_`
};

/// The text of the regular file `path`, cut to `most` + 1 bytes; none when it cannot be read, or is no
/// regular file. `links`: whether a symbolic link is followed.
enum class Links { follow, refuse };
std::optional<std::string> read_regular_file(const std::string& path, std::size_t most,
                                             Links links);
