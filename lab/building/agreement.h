#pragma once

#include <string>
#include <vector>

#include "building/play.h"

namespace lab {

/// One comparison of the program's tables with the building.
struct Agreement {
  std::string what;
  int compared = 0;                    // rows that are in either
  std::vector<std::string> differing;  // rows that are in one of them only
};

/// Compares what the program has stored with what the APs reported last and with what they obey.
std::vector<Agreement> compare_tables(const Play& play);

}  // namespace lab
