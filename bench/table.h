#pragma once

#include <functional>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

// The figures that the benchmark ends with: sections of rows, printed as one table and written as
// JSON.

/// A figure, a word in its place, or nothing (null).
using Cell = nlohmann::json;

struct FigureRow {  // NOLINT(bugprone-exception-escape): the linter mistrusts JSON's destructor
  std::string label;
  std::string unit;  // empty for a count or a word
  std::vector<Cell> values;
  Cell goal = nullptr;  // a text; null for none
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(FigureRow, label, unit, values, goal)

struct Section {
  std::string title;
  std::vector<std::string> columns;
  std::vector<FigureRow> rows;
  /// What a reader should compare, and with what.
  std::string note;
};
NLOHMANN_DEFINE_TYPE_NON_INTRUSIVE(Section, title, columns, rows, note)

using Table = std::vector<Section>;

/// A row of a section whose columns are several `Measured` of one kind.
template <class Measured>
struct Figure {
  std::string label;
  std::string unit;
  std::function<Cell(const Measured&)> of;
  Cell goal = nullptr;
};

template <class Measured>
std::vector<FigureRow> rows_of(const std::vector<Measured>& columns,
                               const std::vector<Figure<Measured>>& figures) {
  std::vector<FigureRow> rows;
  for (const Figure<Measured>& figure : figures) {
    FigureRow& row = rows.emplace_back(FigureRow{figure.label, figure.unit, {}, figure.goal});
    for (const Measured& column : columns) {
      row.values.push_back(figure.of(column));
    }
  }
  return rows;
}

/// Figures with three significant digits; goals stand at the end of their row.
std::string as_text(const Table& table);
