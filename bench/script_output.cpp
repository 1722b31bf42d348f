#include "script_output.h"

#include <algorithm>
#include <charconv>
#include <sstream>

namespace {

std::vector<std::string> lines_of(std::string_view text) {
  std::vector<std::string> lines;
  std::istringstream stream{std::string(text)};
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

/// The parts of a line that two blanks or more keep apart; one blank belongs to a part.
std::vector<std::string> parts_of(std::string_view line) {
  std::vector<std::string> parts;
  while (!line.empty()) {
    const std::size_t end = std::min(line.find("  "), line.size());
    if (end > 0) {
      parts.emplace_back(line.substr(0, end));
    }
    line.remove_prefix(std::min(line.find_first_not_of(' ', end), line.size()));
  }
  return parts;
}

Cell cell_of(const std::string& text) {
  double number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end ? Cell(number) : Cell(text);
}

}  // namespace

Section section_of_blocks(std::string_view title, std::string_view output) {
  Section section{std::string(title), {}, {}, ""};
  std::size_t row = 0;
  for (const std::string& line : lines_of(output)) {
    const std::vector<std::string> parts = parts_of(line);
    if (parts.size() == 2 && line.starts_with("    ")) {
      if (section.columns.size() == 1) {
        section.rows.push_back({parts[0], "", {}, ""});
      }
      if (row < section.rows.size()) {
        section.rows[row++].cells.push_back(cell_of(parts[1]));
      }
    } else if (parts.size() == 1 && !section.note.empty()) {
      section.columns.push_back(parts[0]);
      row = 0;
    } else if (parts.size() == 1) {
      section.note = parts[0];  // the first line says what was measured
    }
  }
  return section;
}

Section section_of_lines(std::string_view title, std::string_view output) {
  Section section{std::string(title), {}, {}, ""};
  for (const std::string& line : lines_of(output)) {
    const std::vector<std::string> parts = parts_of(line);
    if (section.rows.empty()) {
      for (const std::string& name : parts) {
        section.rows.push_back({name, "", {}, ""});
      }
    } else if (parts.size() == section.rows.size()) {
      section.columns.emplace_back();
      for (std::size_t i = 0; i < parts.size(); ++i) {
        section.rows[i].cells.push_back(cell_of(parts[i]));
      }
    }
  }
  return section;
}
