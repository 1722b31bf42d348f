#pragma once

#include "show/site.h"

namespace show {

/// All about the AP of that number: its state, radios, stations, neighbours, foreign radios, poorly
/// served and refused stations.
View ap_view(Site& site, const ApState& ap, std::int64_t period);

}  // namespace show
