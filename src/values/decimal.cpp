#include "values/decimal.h"

#include <cstdlib>
#include <string>

std::int64_t decimal(std::string_view text) {
  return std::strtoll(std::string(text).c_str(), nullptr, 10);
}
