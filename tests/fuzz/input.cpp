#include "fuzz/input.h"

#include <fcntl.h>
#include <unistd.h>

#include <cctype>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include "ini/ini_file.h"
#include "ini/ini_pieces.h"

namespace {

using Values = std::map<std::string, std::string>;

/// Adds what is in `text`; false when it cannot be parsed.
bool add(Values& values, const std::string& text) {
  std::string complaint;
  const std::optional<IniFile> file = IniFile::parse(text, "input", complaint);
  must(file.has_value() == complaint.empty());
  if (file) {
    file->for_each([&](std::string_view section, std::string_view key, std::string_view value) {
      must(file->find(section, key) == value);
      values.insert_or_assign(std::string(section).append(":").append(key), value);
    });
  }
  return file.has_value();
}

/// Whether a section's name may hold a colon: such a section takes away the key of its name, which
/// cannot be seen from outside.
bool may_hide_keys(std::string_view text) {
  for (std::size_t at = text.find('['); at != std::string_view::npos; at = text.find('[', at + 1)) {
    if (text.substr(at, text.find('\n', at) - at).find(':') != std::string_view::npos) {
      return true;
    }
  }
  return false;
}

/// Wherever a text is cut, its pieces hold what the whole text holds.
void compare_pieces(std::string_view text) {
  if (may_hide_keys(text)) {
    return;
  }
  constexpr std::size_t kLeast = 1;
  constexpr std::size_t kMost = 64;
  Values whole;
  Values in_pieces;
  const bool is_parsed = add(whole, std::string(text));
  bool are_parsed = true;
  for (const IniPiece& piece : ini_pieces(text, kLeast, kMost)) {
    are_parsed = are_parsed && add(in_pieces, std::string(piece.header).append(piece.text));
  }
  must(is_parsed == are_parsed && (!is_parsed || whole == in_pieces));
}

}  // namespace

void must(bool claim) {
  if (!claim) {
    std::abort();
  }
}

void must_be_closed(const Statement& statement) {
  must(statement.sound);
  bool is_quoted = false;
  for (std::size_t at = 0; at < statement.text.size(); ++at) {
    const char c = statement.text[at];
    if (c == '\'') {
      is_quoted = !is_quoted;
    } else if (is_quoted) {
      at += c == '\\' ? 1 : 0;
    } else {
      must(std::isalnum(static_cast<unsigned char>(c)) != 0 ||
           std::string_view(" ,=`_+-").find(c) != std::string_view::npos);
    }
  }
  must(!is_quoted);
}

std::size_t width_of(const std::string& table, const std::string& column) {
  static const std::string schema = [] {
    std::ostringstream text;
    text << std::ifstream("/source/schema/10-ap-info.sql").rdbuf()
         << std::ifstream("/source/schema/20-ap-client.sql").rdbuf();
    return text.str();
  }();
  static std::map<std::pair<std::string, std::string>, std::size_t> known;
  const auto [width, is_new] = known.try_emplace({table, column});
  if (is_new) {
    const std::size_t start = schema.find(".`" + table + "` (\n");
    const std::size_t at = schema.find("\n  `" + column + "` ", start);
    must(start != std::string::npos && at != std::string::npos);
    width->second = std::strtoul(schema.c_str() + schema.find('(', at) + 1, nullptr, 10);
  }
  return width->second;
}

std::optional<Report> report_of(const std::uint8_t* data, std::size_t size) {
  static const std::string path = "/tmp/fuzz-input-" + std::to_string(getpid());
  static const int file = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
  must(ftruncate(file, 0) == 0 && pwrite(file, data, size, 0) == static_cast<ssize_t>(size));
  compare_pieces({reinterpret_cast<const char*>(data), size});
  return Report::load(path, "");
}
