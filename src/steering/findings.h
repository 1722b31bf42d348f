#pragma once

#include <optional>
#include <string>
#include <vector>

#include "steering/auto_rf.h"
#include "steering/demand.h"

/// What the rules have found out about an AP, and from which numbers they have decided. The cycle
/// reads `release_all` alone; the rest is for whoever explains the decision.
struct Findings {
  struct Neighbour {
    int sn;
    int clients;  // its stations
  };
  struct Kick {
    std::string mac;
    int idle;  // seconds
  };
  enum class Fate { no_neighbour, refused_already, refused };
  struct Candidate {
    std::string mac;
    int link;   // as the AP reports it
    int taker;  // number of the AP that would serve it, the loudest; 0: none
    Fate fate;
  };
  struct Block {
    int profile;  // number of its SSID profile
    std::string mac;
    std::optional<int> keeper;  // number of the neighbour where the station is; 0: nowhere, so that
                                // the block is lifted; none: the profile has no SSID
  };

  std::vector<Block> blocks;  // the stations that the AP refuses, when its report has been stored
  std::optional<int> amount;  // its stations; none: load balancing is off
  std::vector<Neighbour> neighbours;  // of a crowded AP: those it hears
  std::optional<Demand> demand;       // of a crowded AP
  std::vector<Kick> kicks;
  std::vector<Candidate> candidates;  // those that were considered, best link first
  bool release_all = false;           // all its blocks are to go
  // The SSID that was the reason; none: it serves one station.
  std::optional<std::string> lost_ssid;
  bool is_heard_by_nobody = false;  // on that SSID; else it hears nobody well enough itself
  std::optional<Hearing> hearing;   // none: auto-RF is off
};
