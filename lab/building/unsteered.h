#pragma once

#include <vector>

#include "building/scenario.h"

namespace lab {

/// Clients of each AP at the end of each minute in a building where nobody steers: APs come and go,
/// but are told nothing.
std::vector<std::vector<int>> clients_unsteered(const Scenario& scenario);

}  // namespace lab
