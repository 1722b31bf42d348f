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

/// Whether iniparser takes the line for the beginning of a section. It goes on with the section
/// before when there is no name between the brackets.
bool begins_section(std::string_view line) {
  return line.size() > 2 && line.front() == '[' && line.back() == ']' && line[1] != ']';
}

}  // namespace

std::vector<IniPiece> ini_pieces(std::string_view text, std::size_t least, std::size_t most) {
  std::vector<IniPiece> pieces;
  std::size_t begin = 0;
  std::string_view header;   // of the section at `at`
  std::string_view outside;  // the same at `begin`, where that line is in an earlier piece
  bool continued = false;    // a line that ends with a backslash goes on in the next
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find('\n', at), text.size() - 1) + 1;
    const std::string_view line = stripped(text.substr(at, end - at));
    const bool is_header = !continued && begins_section(line);
    if (!continued && at - begin >= (is_header ? least : most)) {
      pieces.push_back({outside, text.substr(begin, at - begin)});
      begin = at;
      outside = is_header ? "" : header;
    }
    if (is_header) {
      header = text.substr(at, end - at);
    }
    continued = line.ends_with('\\');
    at = end;
  }
  if (begin < text.size()) {
    pieces.push_back({outside, text.substr(begin)});
  }
  return pieces;
}
