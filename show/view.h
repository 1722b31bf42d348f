#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

// What a view has to say: records of typed values. How they look is the business of output.h.

namespace show {

/// What a colour would say about a value.
enum class Tone { plain, good, odd, faint };

/// A value of a record. Texts may hold any bytes.
struct Cell {
  using Value = std::variant<std::monostate, std::int64_t, std::string>;

  Cell() = default;
  Cell(std::int64_t number, Tone of = Tone::plain) : value(number), tone(of) {}        // NOLINT
  Cell(std::string text, Tone of = Tone::plain) : value(std::move(text)), tone(of) {}  // NOLINT
  Cell(std::optional<std::int64_t> number, Tone of = Tone::plain) : tone(of) {         // NOLINT
    if (number) {
      value = *number;
    }
  }

  Value value;  // monostate: unknown or none
  Tone tone = Tone::plain;
};

/// How a number is shown. Ages are in seconds.
enum class Unit { text, count, age, dbm };

struct Column {
  const char* key;   // its name in JSON and for --sort
  const char* head;  // its name for people
  Unit unit = Unit::text;
  int spare =
      0;  // where there is no room, columns of the highest number are left out first; 0 stays
};

using Record = std::vector<Cell>;

/// `table`: a line for each record. `single`: one record, a line for each value.
enum class Layout { table, single, singles, lines };

struct Section {
  const char* key;    // its name in JSON
  std::string title;  // empty for none
  Layout layout;
  std::vector<Column> columns;
  std::vector<Record> records;
};

using View = std::vector<Section>;

/// Sorts by the column of that key: texts rising, numbers falling, what is unknown last. False when
/// there is no such column.
bool sort_by(Section& section, const std::string& key);

}  // namespace show
