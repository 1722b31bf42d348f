#pragma once

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The figures that the benchmark ends with: sections of rows, printed as one table and written as
// JSON.

/// A figure, a word in its place, or nothing.
struct Cell {
  std::optional<double> number;
  std::string text;

  Cell() = default;
  Cell(double figure) : number(figure) {}              // NOLINT: a row is a list of figures
  Cell(std::string words) : text(std::move(words)) {}  // NOLINT
  Cell(const char* words) : text(words) {}             // NOLINT
};

struct FigureRow {
  std::string label;
  std::string unit;  // empty for a count or a word
  std::vector<Cell> cells;
  std::string goal;  // empty for none
};

struct Section {
  std::string title;
  std::vector<std::string> columns;
  std::vector<FigureRow> rows;
  /// What a reader should compare, and with what.
  std::string note;
};

using Table = std::vector<Section>;

/// A row that shows one figure of every measurement, in the order of the columns.
template <class Measured>
struct Figure {
  std::string label;
  std::string unit;
  Cell (*of)(const Measured& measured);
  std::string goal = {};
};

template <class Measured>
void add_rows(Section& section, const std::vector<Measured>& all,
              const std::vector<Figure<Measured>>& figures) {
  for (const Figure<Measured>& figure : figures) {
    FigureRow& row =
        section.rows.emplace_back(FigureRow{figure.label, figure.unit, {}, figure.goal});
    std::transform(all.begin(), all.end(), std::back_inserter(row.cells), figure.of);
  }
}

/// The section of a table of tabs, as the scripts beside the driver print it: the first line names
/// the rows, and every other line becomes a column. The first field is the column's own name. What
/// is not a number stays a word.
Section section_of(std::string_view title, std::string_view tabs);

/// Figures with three digits that count; goals stand at the end of their row.
std::string as_text(const Table& table);

/// {"head": "...", "sections": [...]}. `head` says where the figures come from.
std::string as_json(const std::string& head, const Table& table);
