#include "values/mac_address.h"

#include <algorithm>

bool is_mac(std::string_view text) {
  constexpr std::string_view kShape = "hh:hh:hh:hh:hh:hh";
  constexpr std::string_view kDigits = "0123456789abcdefABCDEF";
  return std::equal(
      text.begin(), text.end(), kShape.begin(), kShape.end(), [&](char letter, char wanted) {
        return wanted == 'h' ? kDigits.find(letter) != std::string_view::npos : letter == wanted;
      });
}
