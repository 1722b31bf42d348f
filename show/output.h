#pragma once

#include <string>

#include "show/view.h"

// The one printer of all views.

namespace show {

/// Where to write.
struct Page {
  int width = 0;  // columns; 0: as many as it takes
  bool colours = false;
};

/// Standard output: colours on a terminal only (and unless NO_COLOR is set), the width of COLUMNS
/// or else of the terminal.
Page standard_page();

/// For people.
std::string as_text(const View& view, const Page& page);

/// For programs: one JSON object, in one line if `compact`.
enum class Compact { no, yes };
std::string as_json(const View& view, Compact compact);

}  // namespace show
