#include "steering/block_release.h"

#include <vector>

#include "db/registry.h"
#include "db/schema.h"
#include "steering/block_table.h"
#include "steering/choice.h"
#include "trace/trace_log.h"

namespace {

constexpr const char* kOperation = "ap_release_block_rule";

/// Line marker under which the lists of stations are traced.
constexpr int kAtNeighbour = 489;

/// Refused stations that are asked about at once: about as many as can be sent ahead.
constexpr std::size_t kAtOnce = 32;

/// A refused station, with what has been asked about it ahead of its place in the trace.
struct Refused {
  std::string mac;
  Question asked_ssid;
  std::optional<std::string> ssid;  // fit for a statement
  std::optional<Question> asked_neighbours;
};

/// Takes the next rows and asks for the SSIDs of all their stations at once, then for the
/// neighbours on them. Empty when there are no more rows.
std::vector<Refused> inquire(Connection& db, int sn, Rows& blocks) {
  std::vector<Refused> all;
  while (all.size() < kAtOnce) {
    const std::optional<Row> row = blocks.next();
    if (!row) {
      break;
    }
    all.push_back({row->text(1), ask_profile_ssid(db, row->number(0)), {}, {}});
  }
  for (Refused& refused : all) {
    refused.ssid = profile_ssid(refused.asked_ssid);
    if (refused.ssid) {
      refused.asked_neighbours =
          db.ask_ahead(Step(kOperation, "(2/2) "),
                       "SELECT `ap`,`essid` FROM `%s`.`legal` WHERE `refer_ap`=%d AND `essid`='%s'",
                       AP_CLIENT, sn, refused.ssid->c_str());
    }
  }
  return all;
}

/// The managed APs heard on the station's SSID.
std::vector<int> neighbours_of(Connection& db, const Refused& refused) {
  refused.asked_neighbours->trace();
  Rows rows = refused.asked_neighbours->rows();
  if (rows && rows.count() == 0) {
    db.note(Step(kOperation, "(2/2) "), "no matched.");
  }
  std::vector<int> neighbours;
  for (const Row& row : rows) {
    neighbours.push_back(row.number(0));
  }
  return neighbours;
}

bool serves(Connection& db, int neighbour, const Refused& refused) {
  const Question client = findClientByMac(db, neighbour, refused.mac);
  ap_client_count(db, neighbour);
  client.trace();
  const bool found = client.rows().count() > 0;
  db.note(Step(kOperation, "        "), "%s client %s in %s(AP_%03d)", found ? "Found" : "No",
          refused.mac.c_str(), refused.ssid->c_str(), neighbour);
  return found;
}

/// Whether no neighbour serves the station. One whose SSID is not known stays refused.
bool may_come_back(Connection& db, const Refused& refused) {
  refused.asked_ssid.trace();
  if (!refused.ssid) {
    return false;
  }
  const auto found = [&](int neighbour) { return serves(db, neighbour, refused); };
  return !serving_neighbour(neighbours_of(db, refused), found);
}

}  // namespace

void ap_client_count(Connection& db, int other_sn) {
  static constexpr const char* kName = "ap_client_count";
  if (!is_tracing()) {
    return;
  }
  Rows rows = db.ask(Step(kName), "SELECT `mac` FROM `%s`.`AP_%03d`", AP_CLIENT, other_sn).rows();
  const int count = static_cast<int>(rows.count());
  int number = 0;
  for (const Row& row : rows) {
    db.note(Step(kName), "**CLIENT %03d LIST** (%d/%d) callby=>%s:%d, client_mac:%s", other_sn,
            ++number, count, kOperation, kAtNeighbour, row.text(0).c_str());
  }
}

Question findClientByMac(Connection& db, int other_sn, const std::string& client_mac) {
  return db.ask_ahead(Step("findClientByMac", "        "),
                      "SELECT * FROM `%s`.`AP_%03d` WHERE `mac`=UPPER('%s')", AP_CLIENT, other_sn,
                      sql_text(client_mac).c_str());
}

std::optional<std::string> ap_release_block_rule(Connection& db, const std::string& mac) {
  const int sn = get_ap_sn_by_mac(db, mac);
  const Step first(kOperation, "(1/2) ");
  Rows blocks =
      db.ask(first, "SELECT `ssid`, `mac` FROM `%s`.`block` WHERE `refer_ap_sn`=%d", AP_CLIENT, sn)
          .rows();
  if (blocks && blocks.count() == 0) {
    db.note(first, "no matched.");
  }
  NumberedLines lines("release");
  for (auto some = inquire(db, sn, blocks); !some.empty(); some = inquire(db, sn, blocks)) {
    for (const Refused& refused : some) {
      if (may_come_back(db, refused)) {
        ap_block_remove_client(mac, refused.mac, kOperation);
        lines.add(refused.mac);
        db.note(Step(kOperation, "(2/2) "), "@@ %s", lines.text().c_str());
      }
    }
  }
  db.close();
  return lines.count() > 0 ? std::optional(lines.text()) : std::nullopt;
}
