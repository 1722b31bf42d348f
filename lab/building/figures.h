#pragma once

#include <string>
#include <vector>

#include "building/play.h"

// What steering gains and what it costs.

namespace lab {

/// A figure about a play, of the same building without load balancing first where that is known.
struct Figure {
  std::string what;
  int decimals = 0;
  std::vector<double> values;
};

/// The figures, always the same ones in this order. `unsteered` may be null.
std::vector<Figure> figures_of(const Play& play, const Play* unsteered);

/// The same as lines.
std::string table_of(const Play& play, const Play* unsteered);

/// Jain's index: 1 when all numbers are the same, 1/n when one of n has everything; 1 without any.
double fairness(const std::vector<int>& shares);

/// How often stations change to another AP, and how often to one that they have left within the last
/// ten minutes.
struct Roaming {
  int moves = 0;
  int returns = 0;
};
Roaming roaming_of(const std::vector<Change>& changes);

}  // namespace lab
