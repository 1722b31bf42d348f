#include "table.h"

#include <algorithm>
#include <cmath>

#include "platform/text.h"

namespace {

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

std::string quoted(const std::string& text) {
  std::string json = "\"";
  for (const char letter : text) {
    if (letter == '"' || letter == '\\') {
      json.append(1, '\\').append(1, letter);
    } else if (letter == '\n') {
      json.append("\\n");
    } else {
      json.append(1, letter);
    }
  }
  return json + "\"";
}

std::string as_json(const Cell& cell) {
  if (!cell.number) {
    return cell.text.empty() ? "null" : quoted(cell.text);
  }
  return std::isfinite(*cell.number) ? M("%.6g", *cell.number) : "null";
}

/// "[a,b]" of what `one` makes of each element.
template <class List, class One>
std::string json_list(const List& list, One one) {
  std::string json;
  for (const auto& element : list) {
    json += (json.empty() ? "[" : ",") + one(element);
  }
  return json.empty() ? "[]" : json + "]";
}

std::string row_as_json(const FigureRow& row) {
  return "\n    {\"label\":" + quoted(row.label) + ",\"unit\":" + quoted(row.unit) +
         ",\"values\":" + json_list(row.cells, [](const Cell& cell) { return as_json(cell); }) +
         ",\"goal\":" + (row.goal.empty() ? "null" : quoted(row.goal)) + "}";
}

std::string section_as_json(const Section& section) {
  return "\n  {\"title\":" + quoted(section.title) +
         ",\"columns\":" + json_list(section.columns, quoted) +
         ",\"rows\":" + json_list(section.rows, row_as_json) + ",\"note\":" + quoted(section.note) +
         "}";
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

std::string as_text(const Table& table) {
  std::string text;
  for (const Section& section : table) {
    text += "\n" + section_as_text(section);
  }
  return text;
}

std::string as_json(const std::string& head, const Table& table) {
  return "{\"head\":" + quoted(head) + ",\n \"sections\":" + json_list(table, section_as_json) +
         "}\n";
}
