#include "ini/ini_pieces.h"

#include <algorithm>

namespace {

constexpr std::string_view kBlanks = " \t\n\v\f\r";

std::string_view stripped(std::string_view line) {
  const std::size_t first = line.find_first_not_of(kBlanks);
  return first == std::string_view::npos
             ? ""
             : line.substr(first, line.find_last_not_of(kBlanks) - first + 1);
}

/// Takes the next line from `text`, joined as iniparser joins lines that end with a backslash.
std::string_view take_line(std::string_view& text, std::string& joined) {
  joined.clear();
  bool continued = true;
  while (continued && !text.empty()) {
    const std::size_t end = std::min(text.find('\n'), text.size() - 1) + 1;
    joined.append(text.substr(0, end));
    text.remove_prefix(end);
    joined.erase(joined.find_last_not_of(kBlanks) + 1);
    continued = joined.ends_with('\\');
    if (continued) {
      joined.pop_back();
    }
  }
  return stripped(joined);
}

bool names_section(std::string_view line) {
  return line.size() >= 2 && line.front() == '[' && line.back() == ']';
}

/// Whether the line begins a section, whatever was before it. "[]" makes iniparser 4.1 shorten the name
/// of the section before.
bool begins_section(std::string_view line) {
  return names_section(line) && line[1] != ']';
}

}  // namespace

std::vector<IniPiece> ini_pieces(std::string_view text, std::size_t least, std::size_t most) {
  std::vector<IniPiece> pieces;
  std::string_view rest = text;
  std::size_t begin = 0;
  std::string header;   // of the section at `rest`
  std::string outside;  // the same at `begin`, where those lines are in an earlier piece
  std::string joined;
  while (!rest.empty()) {
    const std::size_t at = text.size() - rest.size();
    const std::string_view line = take_line(rest, joined);
    const bool is_header = begins_section(line);
    if (at - begin >= (is_header ? least : most)) {
      pieces.push_back({outside, text.substr(begin, at - begin)});
      begin = at;
      outside = is_header ? "" : header;
    }
    if (is_header) {
      header.clear();
    }
    if (names_section(line)) {
      header += text.substr(at, text.size() - rest.size() - at);
    }
  }
  if (begin < text.size()) {
    pieces.push_back({outside, text.substr(begin)});
  }
  return pieces;
}
