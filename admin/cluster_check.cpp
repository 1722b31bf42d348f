#include "cluster_check.h"

#include <algorithm>
#include <map>
#include <set>

#include "option_file.h"
#include "platform/text.h"
#include "session.h"
#include "values/decimal.h"
#include "values/paths.h"
#include "wait_budget.h"

namespace {

/// A user without the right EVENT sees no events.
constexpr const char* kAboutNode =
    "SELECT LOWER(`VARIABLE_NAME`), `VARIABLE_VALUE` FROM information_schema.GLOBAL_VARIABLES WHERE "
    "`VARIABLE_NAME` IN ('wsrep_on', 'wsrep_mode', 'event_scheduler') UNION ALL "
    "SELECT LOWER(`VARIABLE_NAME`), `VARIABLE_VALUE` FROM information_schema.GLOBAL_STATUS WHERE "
    "`VARIABLE_NAME` IN ('wsrep_ready', 'wsrep_cluster_size') UNION ALL "
    "SELECT 'event', `STATUS` FROM information_schema.EVENTS WHERE `EVENT_SCHEMA`='AP_INFO' AND "
    "`EVENT_NAME`='connection_log_days'";

Node ask_node(const DatabaseHost& host) {
  Node node;
  node.host = host.port == 0 ? host.name : M("%s:%u", host.name.c_str(), host.port);
  const MyHandle mysql = connect_to(host, kConnectLimit);
  if (!mysql) {
    node.refusal = MySession::refusal.text;
    return node;
  }
  const BudgetedWait wait(kConnectLimit, static_cast<int>(mysql_get_socket(mysql.get())));
  std::map<std::string, std::string> found;
  if (mysql_query(mysql.get(), kAboutNode) == 0) {
    const StoredRows rows(mysql_store_result(mysql.get()));
    while (MYSQL_ROW row = rows ? mysql_fetch_row(rows.get()) : nullptr) {
      found[row[0]] = row[1] == nullptr ? "" : row[1];
    }
  }
  node.in_cluster = found["wsrep_on"] == "ON" || mysql_errno(mysql.get()) == kNotInGroup;
  node.ready = !node.in_cluster || found["wsrep_ready"] == "ON";
  node.group = node.in_cluster ? decimal_int(found["wsrep_cluster_size"]) : 0;
  node.mode = found["wsrep_mode"];
  node.makes_logs = found["event"] == "ENABLED" && found["event_scheduler"] == "ON";
  return node;
}

/// An event that is made in a running cluster is enabled on one node alone.
Findings judge_event(const std::vector<Node>& nodes) {
  const auto makes_logs = [](const Node& node) { return node.makes_logs; };
  const auto does_not = [](const Node& node) { return node.ready && !node.makes_logs; };
  const auto without = std::find_if(nodes.begin(), nodes.end(), does_not);
  if (without == nodes.end() || std::none_of(nodes.begin(), nodes.end(), makes_logs)) {
    return {};
  }
  return {
      {Severity::note, "event-not-everywhere",
       M("The event that makes the connection logs does not run on node %s: while the nodes where "
         "it does are away, nobody makes them.",
         without->host.c_str()),
       "There, with event_scheduler = ON, run SET SESSION wsrep_on = OFF; ALTER EVENT "
       "AP_INFO.connection_log_days ENABLE; it makes each day once, on however many nodes it "
       "runs."}};
}

Findings judge_node(const Node& node, bool others_in_cluster) {
  if (!node.refusal.empty()) {
    return {{Severity::warning, "node-unreachable",
             M("Node %s cannot be reached (%s): the hooks go on to the next of the list.",
               node.host.c_str(), node.refusal.c_str()),
             M("See that it runs, and that it is named rightly in %s.", paths::kDatabaseOptions)}};
  }
  if (!node.ready) {
    return {
        {Severity::warning, "node-not-ready",
         M("Node %s is not part of the majority of its cluster, or not up to date: the hooks pass "
           "it over.",
           node.host.c_str()),
         "Look at the network between the nodes, and at its error log."}};
  }
  if (others_in_cluster && !node.in_cluster) {
    return {{Severity::problem, "node-alone",
             M("Node %s is not in the cluster of the others: what is stored there stays there.",
               node.host.c_str()),
             M("Give it wsrep_on = ON and the others' wsrep_cluster_address, or take it out of %s.",
               paths::kDatabaseOptions)}};
  }
  return {};
}

}  // namespace

Findings judge_cluster(const std::vector<Node>& nodes) {
  Findings findings;
  std::set<std::string> modes;
  int group = 0;
  for (const Node& node : nodes) {
    if (node.in_cluster && node.ready) {
      modes.insert(node.mode);
      group = std::max(group, node.group);
    }
  }
  for (const Node& node : nodes) {
    add(findings,
        nodes.size() == 1 && !node.in_cluster ? Findings{} : judge_node(node, !modes.empty()));
  }
  if (modes.size() > 1) {
    findings.push_back(
        {Severity::problem, "cluster-modes-differ",
         "The nodes have different settings of wsrep_mode: their tables drift apart.",
         "Give all the same, with REPLICATE_MYISAM in it, and start them anew."});
  } else if (!modes.empty() && modes.begin()->find("REPLICATE_MYISAM") == std::string::npos) {
    findings.push_back(
        {Severity::problem, "myisam-not-replicated",
         "The cluster does not replicate MyISAM tables: the tables of single APs stay "
         "on the node that their reports came through.",
         "Set wsrep_mode = REPLICATE_MYISAM on all nodes, drop the tables AP_NNN, "
         "which the next reports make anew, and start the nodes again."});
  }
  if (!modes.empty()) {
    add(findings, judge_event(nodes));
  }
  if (group == 2) {
    findings.push_back({Severity::warning, "cluster-of-two",
                        "The cluster has two nodes: when one fails, the other is no majority and "
                        "refuses to serve.",
                        "Bring the missing node back, or add a third; garbd will do for one."});
  }
  if (group > static_cast<int>(nodes.size())) {
    findings.push_back(
        {Severity::note, "node-not-listed",
         M("The cluster has %d nodes, of which the hooks know %d: without these they "
           "do without the database.",
           group, static_cast<int>(nodes.size())),
         M("Name all in %s: host = a:3306,b:3306,c:3306.", paths::kDatabaseOptions)});
  }
  return findings;
}

ClusterResult check_cluster() {
  ClusterResult result;
  for (const DatabaseHost& host : database_hosts()) {
    result.nodes.push_back(ask_node(host));
  }
  result.findings = judge_cluster(result.nodes);
  return result;
}
