#pragma once

#include <cstdint>
#include <cstdlib>
#include <string>
#include <string_view>

// Numbers as they appear in column texts and arguments: base 10, leading blanks and a sign allowed,
// read up to the first other character. A text without digits is 0; a number beyond 64 bits is the
// nearest that fits.

inline std::int64_t decimal(std::string_view text) {
  return std::strtoll(std::string(text).c_str(), nullptr, 10);
}

/// The low bits of `value` that fit into `Narrow`: a number that is too large for a record's field
/// wraps.
template <typename Narrow, typename Wide>
constexpr Narrow cut_to(Wide value) {
  return static_cast<Narrow>(value);
}

/// `decimal` cut to 32 bits, the width of serial numbers and counts.
inline int decimal_int(std::string_view text) {
  return cut_to<int>(decimal(text));
}
