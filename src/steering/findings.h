#pragma once

#include <optional>
#include <string>
#include <vector>

#include "steering/auto_rf.h"
#include "steering/demand.h"

/// What the rules have decided for an AP, and from which numbers. The cycle reads only `release_all`;
/// the rest explains the decision to people.
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

  std::vector<Block> blocks;          // the stations that the AP refused before this report
  std::optional<int> amount;          // its stations; none: load balancing is off
  std::vector<Neighbour> neighbours;  // of a crowded AP: those it hears
  std::optional<Demand> demand;       // of a crowded AP
  std::vector<Kick> kicks;
  std::vector<Candidate> candidates;  // those that were considered, best link first
  bool release_all = false;           // all its blocks are to go
  // The SSID on which it is out of reach; none: all blocks go because it serves one station.
  std::optional<std::string> lost_ssid;
  bool is_heard_by_nobody = false;  // on that SSID; else it hears no AP well enough itself
  std::optional<Hearing> hearing;   // none: auto-RF is off
};
