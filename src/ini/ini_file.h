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

/// The sections and keys of an INI text, as iniparser reads it: names match in either case, of a key
/// that appears twice in a section the later value counts. Nothing of a text stays in the
/// library, and it writes nothing anywhere.
///
/// iniparser 4.2 reads some lines in another way than 4.1. In a value in quotes a backslash stands for
/// the character after it; `key=""rest` is empty, and so is `key=''rest`; a section's name goes on
/// to the last "]" of its line instead of the first.
///
/// The time that iniparser takes grows with the square of the number of keys, so it gets the text in
/// pieces. A report of 512 stations and 2,000 cells (390 kB, 25,000 lines) then loads in 0.03 s
/// instead of 0.3 s.
class IniFile {
 public:
  /// Parses `text`. None when iniparser refuses it (a line of 1023 bytes or more, or one without "="
  /// that is no section), it holds a NUL, memory is short, or the copy that iniparser gets cannot be
  /// made or read: then `complaint` says why, in a line or two that name the text `name` and the
  /// line's number.
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

  /// Takes over the dictionary of the next piece. A key that stood in an earlier one gets its value.
  void add(_dictionary_* values);

  std::vector<std::unique_ptr<_dictionary_, Free>> pieces_;
  // By "section:key". iniparser looks a key up by walking all of them; over a whole report that is the
  // square of its size. The views are of the dictionaries' own texts.
  std::unordered_map<std::string_view, const char*> index_;
};

/// The text of the regular file `path`, at most `most` bytes and one more; none when it cannot be read
/// whole, or is no regular file. `links`: whether a symbolic link is followed.
enum class Links { follow, refuse };
std::optional<std::string> read_regular_file(const std::string& path, std::size_t most,
                                             Links links);
