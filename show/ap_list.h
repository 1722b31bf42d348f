#pragma once

#include "show/site.h"

namespace show {

/// Which part of the list of APs is wanted.
struct ListWish {
  std::string sort = "name";   // a column
  bool problems_only = false;  // those with something odd
  std::int64_t period = 60;    // seconds from report to report
};

/// The state of one AP, as a single record.
Section ap_section(const ApState& ap, std::int64_t period);

/// All APs, a line each. Throws Unavailable for an unknown column.
View ap_list(const Site& site, const ListWish& wish);

}  // namespace show
