#include "table.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>
#include <sstream>

#include "kit/text.h"
#include "platform/text.h"

namespace {

using Json = nlohmann::ordered_json;

constexpr int kLabelWidth = 44;
constexpr std::size_t kLeastColumn = 9;
constexpr int kGoalGap = 3;

bool is_whole(double number) {
  return number == std::floor(number) && std::fabs(number) < 1e9;
}

std::string as_text(const Cell& cell) {
  if (!cell.number) {
    return cell.text;
  }
  const double number = *cell.number;
  const double size = std::fabs(number);
  const int digits = is_whole(number) || size >= 99.95 ? 0
                     : size >= 9.995                   ? 1
                     : size >= 0.9995                  ? 2
                                                       : 3;
  return M("%.*f", digits, number);
}

Cell cell_of(const std::string& text) {
  double number = 0;
  const char* end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, number);
  return error == std::errc() && stop == end ? Cell(number) : Cell(text);
}

std::string section_as_text(const Section& section) {
  std::vector<std::size_t> widths;
  bool goals = false;
  for (const std::string& column : section.columns) {
    widths.push_back(std::max(column.size(), kLeastColumn));
  }
  for (const FigureRow& row : section.rows) {
    goals = goals || !row.goal.empty();
  }
  const auto add = [&](std::string text, std::size_t column, const std::string& cell) {
    return my_string(std::move(text), "  %*s", static_cast<int>(widths[column]), cell.c_str());
  };
  std::string text = M("%-*s", kLabelWidth, section.title.c_str());
  for (std::size_t i = 0; i < section.columns.size(); ++i) {
    text = add(std::move(text), i, section.columns[i]);
  }
  text += goals ? "   goal\n" : "\n";
  for (const FigureRow& row : section.rows) {
    const std::string label = row.label + (row.unit.empty() ? "" : ", " + row.unit);
    text = my_string(std::move(text), "  %-*s", kLabelWidth - 2, label.c_str());
    for (std::size_t i = 0; i < row.cells.size(); ++i) {
      text = add(std::move(text), i, as_text(row.cells[i]));
    }
    text += (row.goal.empty() ? "" : std::string(kGoalGap, ' ') + row.goal) + "\n";
  }
  return text + section.note + "\n";
}

}  // namespace

// What the library calls for the elements of a list.

static void to_json(Json& json, const Cell& cell) {
  json = cell.number ? Json(*cell.number) : cell.text.empty() ? Json() : Json(cell.text);
}

static void to_json(Json& json, const FigureRow& row) {
  json = {
      {"label", row.label}, {"unit", row.unit}, {"values", row.cells}, {"goal", Cell(row.goal)}};
}

static void to_json(Json& json, const Section& section) {
  json = {{"title", section.title},
          {"columns", section.columns},
          {"rows", section.rows},
          {"note", section.note}};
}

std::string as_text(const Table& table) {
  std::string text;
  for (const Section& section : table) {
    text += "\n" + section_as_text(section);
  }
  return text;
}

std::string as_json(const std::string& head, const Table& table) {
  return Json{{"head", head}, {"sections", table}}.dump(1) + "\n";
}

Section section_of(std::string_view title, std::string_view tabs) {
  Section section{std::string(title), {}, {}, ""};
  for (const std::string& line : kit::lines_of(tabs)) {
    std::istringstream fields(line);
    std::string field;
    std::getline(fields, field, '\t');
    const bool is_head = section.rows.empty();
    if (!is_head) {
      section.columns.push_back(field);
    }
    for (std::size_t i = 0; std::getline(fields, field, '\t'); ++i) {
      if (is_head) {
        section.rows.push_back({field, "", {}, ""});
      } else if (i < section.rows.size()) {
        section.rows[i].cells.push_back(cell_of(field));
      }
    }
  }
  return section;
}
