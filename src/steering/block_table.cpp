#include "steering/block_table.h"

#include <unistd.h>

#include "control/command_file.h"
#include "db/registry.h"
#include "db/schema.h"
#include "platform/shell.h"
#include "trace/trace_log.h"

namespace {

constexpr const char* kAmount = "get_ap_client_amount";
constexpr const char* kExists = "ap_block_exists";

}  // namespace

Question ask_ap_client_amount(Connection& db, int sn) {
  return db.ask_ahead(Step(kAmount), "SELECT COUNT(*) FROM `%s`.`AP_%03d`", AP_CLIENT, sn);
}

int get_ap_client_amount(Connection& db, const Question& asked) {
  asked.trace();
  Rows rows = asked.rows();
  const std::optional<Row> row = rows.next();
  if (!row) {
    return 0;
  }
  const int amount = row->number(0);
  db.note(Step(kAmount), "amount:%d", amount);
  return amount;
}

int get_ap_client_amount(Connection& db, int sn) {
  return get_ap_client_amount(db, ask_ap_client_amount(db, sn));
}

std::optional<Question> ask_block_list(Connection& db) {
  if (!is_tracing()) {
    return std::nullopt;
  }
  return db.ask(untraced, "SELECT `mac`, `refer_ap_sn` FROM `%s`.`block`", AP_CLIENT);
}

void ap_block_count(Connection& db, const std::optional<Question>& asked, const char* caller,
                    int caller_line) {
  if (!asked) {
    return;
  }
  Rows rows = asked->rows();
  const int count = static_cast<int>(rows.count());
  int number = 0;
  for (const Row& row : rows) {
    db.note(Step("ap_block_count"),
            "**BLOCK LIST** (%d/%d) callby=>%s:%d, client_mac:%s, block_ap:%s", ++number, count,
            caller, caller_line, row.text(0).c_str(), row.text(1).c_str());
  }
}

Question ask_block_exists(Connection& db, const std::string& client_mac) {
  return db.ask_ahead(Step(kExists), "SELECT * FROM `%s`.`block` WHERE `mac`='%s'", AP_CLIENT,
                      sql_text(client_mac).c_str());
}

bool ap_block_exists(const Question& asked) {
  return asked.rows().count() > 0;
}

void trace_block_exists(Connection& db, const Question& asked, const std::string& client_mac,
                        bool exists) {
  asked.trace();
  db.note(Step(kExists), "%s %s exists in block table.", client_mac.c_str(), exists ? "" : "not");
}

bool ap_block_add(Connection& db, int sn, const client_record& client) {
  static constexpr const char* kOperation = "ap_block_add";
  const std::string mac = sql_text(client.mac);
  const Rows blocked =
      db.ask(Step(kOperation, "(1/2) "), "SELECT `mac` FROM `%s`.`block` WHERE `mac`='%s'",
             AP_CLIENT, mac.c_str())
          .rows();
  if (!blocked || blocked.count() > 0) {
    return false;
  }
  db.run(Step(kOperation, "(2/2) "),
         "REPLACE INTO `%s`.`block` (`mac`, `utime`, `ssid`, `aid`, `channel`, `tx_rate`, "
         "`rx_rate`, `rssi`, `idle`, `tx_seq`, `rx_seq`, `refer_ap_sn`) VALUES (UPPER('%s'), "
         "NOW(), %u, %u, %u, '%s', '%s', %d, %u, %u, %u, %d) ",
         AP_CLIENT, mac.c_str(), client.ssid, client.aid, client.channel,
         sql_text(stored_text(client.tx_rate)).c_str(),
         sql_text(stored_text(client.rx_rate)).c_str(), client.rssi, client.idle, client.tx_seq,
         client.rx_seq, sn);
  return true;
}

bool ap_release_rule(Connection& db, int ssid_sn, const std::string& ap_mac) {
  const Step step("ap_release_rule", "        (1/1) ");
  const int sn = get_ap_sn_by_mac(db, ap_mac);
  const Rows blocks =
      db.ask(step, "SELECT * FROM `%s`.`block` WHERE `ssid`=%d AND `refer_ap_sn`=%d", AP_CLIENT,
             ssid_sn, sn)
          .rows();
  if (blocks && blocks.count() == 0) {
    db.note(step, "no matched");
  }
  return blocks.count() > 0;
}

namespace {

/// The mark of a trace line of the lifting: the step and who asked for it.
Step lifting(int step, const char* caller, int source_line = __builtin_LINE()) {
  return Step("ap_block_remove", M("        (%d/2 callby:%s) ", step, caller), source_line);
}

}  // namespace

void ap_block_remove_client(const std::string& ap_mac, const std::string& client_mac,
                            const char* caller) {
  Connection db(ap_mac);
  const int sn = db ? get_ap_sn_by_mac(db, ap_mac) : 0;
  if (sn == 0) {
    return;
  }
  db.run(lifting(1, caller), "DELETE FROM `%s`.`block` WHERE `mac`='%s' AND `refer_ap_sn`=%d",
         AP_CLIENT, sql_text(client_mac).c_str(), sn);
}

void ap_block_remove(const std::string& ap_mac, Quiet quiet, const char* caller) {
  Connection db(ap_mac);
  const int sn = db ? get_ap_sn_by_mac(db, ap_mac) : 0;
  if (sn == 0) {
    return;
  }
  db.run(lifting(1, caller), "DELETE FROM `%s`.`block` WHERE `refer_ap_sn`=%d", AP_CLIENT, sn);
  if (quiet == Quiet::yes) {
    return;
  }
  db.close();
  if (access(command_slot(ap_mac).c_str(), F_OK) == 0) {
    my_mysql_release();  // the child will wait for the slot
  }
  static constexpr const char* kTellAp = "/usr/sbin/ap-command %d 127.0.0.1 %s";
  constexpr int kType = static_cast<int>(CommandType::release_all);
  my_system(kTellAp, kType, ap_mac.c_str());
  const Step told = lifting(2, caller);
  ap_debug_log(told.operation, told.line, ap_mac.c_str(), "%s/usr/sbin/ap-command %d 127.0.0.1 %s",
               told.mark.c_str(), kType, ap_mac.c_str());
}

void drop_ap_client_table(const std::string& ap_mac) {
  Connection db(ap_mac);
  if (!db) {
    return;
  }
  const int sn = get_ap_sn_by_mac(db, ap_mac);
  db.run(Step("drop_ap_client_table"), "DROP TABLE IF EXISTS `%s`.`AP_%03d`", AP_CLIENT, sn);
}
