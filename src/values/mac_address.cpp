#include "values/mac_address.h"

#include <cstddef>

namespace {

constexpr std::size_t kLength = 17;
constexpr std::size_t kGroup = 3;  // two digits and their separator
constexpr std::string_view kDigits = "0123456789abcdefABCDEF";

}  // namespace

bool is_mac(std::string_view text) {
  if (text.size() != kLength) {
    return false;
  }
  for (std::size_t i = 0; i < kLength; ++i) {
    const bool separator = i % kGroup == kGroup - 1;
    if (separator ? text[i] != ':' : kDigits.find(text[i]) == std::string_view::npos) {
      return false;
    }
  }
  return true;
}
