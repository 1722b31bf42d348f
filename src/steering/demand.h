#pragma once

#include <algorithm>

#include "steering/limits.h"

// How many stations should leave a crowded AP, from the station counts of the AP and of the managed
// APs that it hears.

/// The numbers of one decision.
struct Demand {
  int users;      // the AP's stations beyond the quota
  int aps = 0;    // neighbours
  int avail = 0;  // room at the neighbours: what each lacks to the quota
  int diff = 0;   // stations of the neighbours, each counted from the quota; may be negative

  /// An AP with `amount` stations and no neighbours yet.
  explicit Demand(int amount) : users(amount - limits::kClientQuota) {}

  /// Counts in a neighbour that serves `clients` stations.
  void add_neighbour(int clients) {
    ++aps;
    avail += std::max(0, limits::kClientQuota - clients);
    diff += clients - limits::kClientQuota;
  }

  /// Whether the neighbours have room for all that is too many.
  bool fits() const { return aps > 0 && users <= avail; }
};

/// The share of each AP, the crowded one among them, when the surplus is spread evenly.
struct Share {
  int avg;  // the quotient, truncated toward zero
  int max;  // the same, or one more when something remains of the division
};

inline Share share_of(const Demand& demand) {
  const int surplus = demand.users + demand.diff;
  const int avg = surplus / (demand.aps + 1);
  return {avg, surplus % (demand.aps + 1) == 0 ? avg : avg + 1};
}

/// How many stations to move; 0 or less for none.
inline int stations_to_move(const Demand& demand) {
  return demand.fits() ? demand.users : demand.users - share_of(demand).max;
}
