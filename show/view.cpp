#include "show/view.h"

#include <algorithm>

namespace show {

namespace {

bool comes_first(const Cell& a, const Cell& b) {
  if (a.value.index() != b.value.index()) {
    return a.value.index() > b.value.index();
  }
  return std::holds_alternative<std::int64_t>(a.value) ? a.value > b.value : a.value < b.value;
}

}  // namespace

bool sort_by(Section& section, const std::string& key) {
  const auto column = std::find_if(section.columns.begin(), section.columns.end(),
                                   [&](const Column& one) { return one.key == key; });
  if (column == section.columns.end()) {
    return false;
  }
  const auto at = static_cast<std::size_t>(column - section.columns.begin());
  std::stable_sort(section.records.begin(), section.records.end(),
                   [&](const Record& a, const Record& b) { return comes_first(a[at], b[at]); });
  return true;
}

}  // namespace show
