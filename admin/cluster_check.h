#pragma once

#include <string>
#include <vector>

#include "finding.h"

/// A server that the option file names, and what it says about the group in which it replicates.
struct Node {
  std::string host;         // as the option file names it, "a:3306"; empty when it names no list
  std::string refusal;      // why it could not be asked; empty: it has answered
  bool in_cluster = false;  // it is configured to replicate in a group
  bool ready = false;       // it serves; outside of a cluster, all that answer do
  int group = 0;            // members that it sees, itself included
  std::string mode;         // wsrep_mode
  bool makes_logs = false;  // it runs the event that makes the connection logs of the days to come
};

struct ClusterResult {
  std::vector<Node> nodes;
  Findings findings;
};

/// Asks each server of the option file's list, or the only one, under the hooks' limits.
ClusterResult check_cluster();

/// What is amiss with these nodes.
Findings judge_cluster(const std::vector<Node>& nodes);
