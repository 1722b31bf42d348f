#include "steering/demand.h"

#include <algorithm>

void Demand::add_neighbour(int clients) {
  ++aps;
  avail += std::max(0, limits::kClientQuota - clients);
  diff += clients - limits::kClientQuota;
}

Share share_of(const Demand& demand) {
  const int surplus = demand.users + demand.diff;
  const int avg = surplus / (demand.aps + 1);
  const bool whole = surplus % (demand.aps + 1) == 0;
  return {avg, whole, whole ? avg : avg + 1};
}

int stations_to_move(const Demand& demand) {
  return demand.fits() ? demand.users : demand.users - share_of(demand).max;
}
