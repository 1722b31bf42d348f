#pragma once

#include <cstddef>
#include <string_view>

// The places in a printf-like literal. Statements and command lines check theirs at compile time.

struct FormatPlace {
  char conversion = '\0';  // 's', 'd', ...; NUL for a "%" that ends the literal
  bool zero_filled = false;
  std::size_t width = 0;
  std::size_t end = 0;  // the position after it
};

/// The place that begins with the "%" at `at`.
constexpr FormatPlace format_place_at(std::string_view literal, std::size_t at) {
  FormatPlace place;
  for (++at; at < literal.size() && literal[at] >= '0' && literal[at] <= '9'; ++at) {
    place.zero_filled = place.zero_filled || (place.width == 0 && literal[at] == '0');
    place.width = place.width * 10 + static_cast<std::size_t>(literal[at] - '0');
  }
  place.conversion = at < literal.size() ? literal[at] : '\0';
  place.end = at + 1;
  return place;
}
