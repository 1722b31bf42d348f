#pragma once

#include <algorithm>
#include <functional>
#include <set>
#include <span>
#include <string>

#include "platform/text.h"
#include "values/mac_address.h"

/// Records whose rows are looked up together, at most, so that the server does not wait for us
/// after each; few enough to be sent ahead of their answers.
inline constexpr std::size_t kTogether = 8;

/// How many of `records`, from the first on, to look up together and then to store: at least one if
/// there are any. Whether a record gets a new row shows only when all before it are stored, so no
/// MAC, which `mac_of` tells, comes twice. A text that is no MAC is looked up alone: the server may
/// take it for the same as another.
template <typename Record, typename MacOf>
std::size_t count_together(std::span<const Record> records, MacOf mac_of) {
  const std::size_t most = std::min(records.size(), kTogether);
  std::set<std::string> seen;
  for (std::size_t count = 0; count < most; ++count) {
    const std::string& mac = std::invoke(mac_of, records[count]);
    if (!is_mac(mac)) {
      return std::max<std::size_t>(count, 1);
    }
    if (!seen.insert(my_tolower(mac)).second) {
      return count;
    }
  }
  return most;
}
