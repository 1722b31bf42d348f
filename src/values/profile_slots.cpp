#include "values/profile_slots.h"

#include <algorithm>

#include "values/decimal.h"
#include "values/split.h"

std::uint32_t profile_in_slot(std::string_view list, int slot) {
  const auto separators = static_cast<std::size_t>(std::count(list.begin(), list.end(), ','));
  const std::vector<std::string_view> items = str_split(list, ',', separators + 1);
  const auto wanted = static_cast<std::size_t>(slot);
  return wanted == 0 || wanted > items.size() ? 0
                                              : cut_to<std::uint32_t>(decimal(items[wanted - 1]));
}
