#include "table.h"

#include <algorithm>
#include <cmath>

#include "kit/text.h"

namespace {

constexpr int kLabelWidth = 44;
constexpr std::size_t kLeastColumn = 9;

std::string as_text(const Cell& cell) {
  if (!cell.is_number()) {
    return cell.is_null() ? "" : cell.get<std::string>();
  }
  const auto number = cell.get<double>();
  const double size = std::fabs(number);
  const int digits = number == std::floor(number) || size >= 99.95 ? 0
                     : size >= 9.995                               ? 1
                     : size >= 0.9995                              ? 2
                                                                   : 3;
  return kit::format("%.*f", digits, number);
}

std::string section_as_text(const Section& section) {
  const auto column = [&](std::size_t i, const std::string& cell) {
    const std::size_t width = std::max(section.columns[i].size(), kLeastColumn);
    return kit::format("  %*s", static_cast<int>(width), cell.c_str());
  };
  std::string text = kit::format("%-*s", kLabelWidth, section.title.c_str());
  for (std::size_t i = 0; i < section.columns.size(); ++i) {
    text += column(i, section.columns[i]);
  }
  const bool goals = std::any_of(section.rows.begin(), section.rows.end(),
                                 [](const FigureRow& row) { return !row.goal.is_null(); });
  text += goals ? "   goal\n" : "\n";
  for (const FigureRow& row : section.rows) {
    const std::string label = row.label + (row.unit.empty() ? "" : ", " + row.unit);
    text += kit::format("  %-*s", kLabelWidth - 2, label.c_str());
    for (std::size_t i = 0; i < row.values.size(); ++i) {
      text += column(i, as_text(row.values[i]));
    }
    text += (row.goal.is_null() ? "" : "   " + as_text(row.goal)) + "\n";
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
