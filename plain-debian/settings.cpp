#include "platform/settings.h"

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "store.h"

namespace {

int decimal(const std::optional<std::string>& text) {
  const long number = text ? std::strtol(text->c_str(), nullptr, 10) : 0;
  return static_cast<int>(std::clamp<long>(number, INT_MIN, INT_MAX));
}

}  // namespace

int RI(int number) {
  return decimal(store_text("settings", std::to_string(number)));
}

std::string RS(int number) {
  return store_text("settings", std::to_string(number)).value_or("");
}

int RETURN_DEF_INT(const char* name) {
  return decimal(store_text("named", name));
}
