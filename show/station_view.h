#pragma once

#include "show/site.h"

namespace show {

/// Where the station with that MAC is, which AP refuses it, and why.
View station_view(Site& site, const std::string& mac);

}  // namespace show
