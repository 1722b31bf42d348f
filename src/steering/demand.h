#pragma once

#include "steering/limits.h"

// How many stations a crowded AP should pass on, from the station counts of the AP and of the
// managed APs that it hears.

/// The numbers of one decision.
struct Demand {
  int users;      // the AP's stations beyond the quota
  int aps = 0;    // neighbours
  int avail = 0;  // room at the neighbours: what each lacks to the quota
  int diff = 0;   // stations of the neighbours, each counted from the quota; may be negative

  /// An AP with `amount` stations and no neighbours yet.
  explicit Demand(int amount) : users(amount - limits::kClientQuota) {}

  /// Counts in a neighbour that serves `clients` stations.
  void add_neighbour(int clients);

  /// Whether the neighbours have room for all that is too many.
  bool fits() const { return aps > 0 && users <= avail; }
};

/// The share of each AP, the crowded one among them, when the surplus is spread evenly.
struct Share {
  int avg;     // the quotient, truncated toward zero
  bool whole;  // nothing remains of the division
  int max;     // the quotient, one more when something remains
};

Share share_of(const Demand& demand);

/// How many stations to move; 0 or less for none.
int stations_to_move(const Demand& demand);
