#pragma once

#include <algorithm>
#include <cstddef>
#include <functional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "platform/database.h"
#include "platform/text.h"
#include "values/mac_address.h"

/// How many of `records`, at least one, may be looked up ahead together, from the first on. Storing a
/// record changes what is found under its MAC, so the MACs of a batch are distinct. A text that is no
/// MAC is looked up alone: the server may compare it equal to another.
template <typename Record, typename MacOf>
std::size_t count_together(std::span<const Record> records, MacOf mac_of) {
  std::set<std::string> seen;
  const auto is_new_mac = [&](const std::string& mac) {
    return is_mac(mac) && seen.insert(my_tolower(mac)).second;
  };
  const std::size_t most = std::min(records.size(), kMostSentAhead);
  std::size_t count = 0;
  while (count < most && is_new_mac(std::invoke(mac_of, records[count]))) {
    ++count;
  }
  return std::max<std::size_t>(count, 1);
}

/// Calls `store` for each record, in order, and `fetch_ahead` in front of each batch of them, with a
/// span of the batch. `mac_of` yields the MAC of a record.
template <typename Record, typename MacOf, typename FetchAhead, typename Store>
void store_in_order(const std::vector<Record>& records, MacOf mac_of, FetchAhead fetch_ahead,
                    Store store) {
  std::span<const Record> rest = records;
  while (!rest.empty()) {
    const std::span<const Record> next = rest.first(count_together(rest, mac_of));
    fetch_ahead(next);
    std::for_each(next.begin(), next.end(), store);
    rest = rest.subspan(next.size());
  }
}
