#pragma once

#include "show/forecast.h"
#include "show/site.h"

namespace show {

/// Why an AP goes on refusing a station, and what will end that.
struct BlockStory {
  std::string kept_by;    // begins with "nothing" when the AP's next report lifts the block
  std::string lifted_by;  // events, any of which is enough
};

/// Answers that for the stations that one AP refuses, from what the rules find in the tables as
/// they are now.
class BlockTeller {
 public:
  /// `ap` and `site` have to live longer than the object. Throws Unavailable.
  BlockTeller(Site& site, const ApState& ap);

  /// For a station, spelt as in the block table.
  BlockStory tell(const std::string& mac);

 private:
  BlockStory tell_of_keeper(const Findings::Block& block);
  std::string ssid_of(int profile);
  std::string other_ways() const;

  Site& site_;
  const ApState& ap_;
  Findings found_;
  std::string end_of_all_;  // what ends all blocks with the next report; empty for nothing
};

}  // namespace show
