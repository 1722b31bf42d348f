#include "steering/block_table.h"

#include <unistd.h>

#include "control/command_file.h"
#include "db/schema.h"
#include "platform/shell.h"
#include "trace/trace_log.h"

namespace {

constexpr const char* kAdding = "ap_block_add";
constexpr const char* kLifting = "ap_block_remove";

std::string lifting_mark(int step, const char* caller) {
  return M("        (%d/2 callby:%s) ", step, caller);
}

}  // namespace

Query block_exists_query(const std::string& client_mac) {
  return query(Step("ap_block_exists"), "SELECT * FROM `%s`.`block` WHERE `mac`='%s'", AP_CLIENT,
               client_mac);
}

bool ap_block_exists(Connection& db, const std::string& client_mac) {
  const Query found = block_exists_query(client_mac);
  const bool exists = db.ask(found).count() > 0;
  db.note(found.step, "%s %s exists in block table.", client_mac.c_str(), exists ? "" : "not");
  return exists;
}

Query block_add_query(const std::string& client_mac) {
  return query(Step(kAdding, "(1/2) "), "SELECT `mac` FROM `%s`.`block` WHERE `mac`='%s'",
               AP_CLIENT, client_mac);
}

bool ap_block_add(Connection& db, int sn, const client_record& client) {
  const Rows blocked = db.ask(block_add_query(client.mac));
  if (!blocked || blocked.count() > 0) {
    return false;
  }
  db.run(Step(kAdding, "(2/2) "),
         "REPLACE INTO `%s`.`block` (`mac`, `utime`, `ssid`, `aid`, `channel`, `tx_rate`, "
         "`rx_rate`, `rssi`, `idle`, `tx_seq`, `rx_seq`, `refer_ap_sn`) VALUES (UPPER('%s'), "
         "NOW(), %u, %u, %u, '%s', '%s', %d, %u, %u, %u, %d) ",
         AP_CLIENT, client.mac, client.ssid, client.aid, client.channel,
         stored_text(client.tx_rate), stored_text(client.rx_rate), client.rssi, client.idle,
         client.tx_seq, client.rx_seq, sn);
  return true;
}

void ap_block_remove_client(Ap& ap, const std::string& client_mac, const char* caller) {
  if (ap.db.open() && ap.look_up() != 0) {
    ap.db.run(Step(kLifting, lifting_mark(1, caller)),
              "DELETE FROM `%s`.`block` WHERE `mac`='%s' AND `refer_ap_sn`=%d", AP_CLIENT,
              client_mac, ap.sn);
  }
}

void ap_block_remove(Ap& ap, Quiet quiet, const char* caller) {
  if (!ap.db.open() || ap.look_up() == 0) {
    return;
  }
  ap.db.run(Step(kLifting, lifting_mark(1, caller)),
            "DELETE FROM `%s`.`block` WHERE `refer_ap_sn`=%d", AP_CLIENT, ap.sn);
  if (quiet == Quiet::yes) {
    return;
  }
  if (access(command_slot(ap.mac, CommandSlot::ordinary).c_str(), F_OK) == 0) {
    ap.give_connection_back();  // the child will wait for the slot
  }
  const std::string command =
      "/usr/sbin/ap-command " + number_of(CommandType::release_all) + " 127.0.0.1 " + ap.mac;
  const bool is_run = my_system("%s", command.c_str()) >= 0;
  ap_debug_log({kLifting, ap.mac}, "%s%s", lifting_mark(2, caller).c_str(), command.c_str());
  if (!is_run) {
    report_loss({kLifting, ap.mac}, Loss::command, Remedy::none,
                "command lost: " + command + " could not be run, or died");
  }
}
