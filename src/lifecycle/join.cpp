#include "lifecycle/join.h"

#include <optional>

#include "db/schema.h"
#include "lifecycle/announcement.h"
#include "platform/controller.h"
#include "platform/files.h"
#include "steering/block_table.h"
#include "values/decimal.h"

namespace {

constexpr const char* kOperation = "ap_up_register";

/// What the registry has of an AP.
struct KnownAp {
  int sn = 0;
  std::string ip;
  std::optional<std::string> name;
  int status = kNotConnected;
  std::string fw_upgrade;
};

Rows look_up(Ap& ap) {
  return ap.db.ask(Step(kOperation),
                   "SELECT `SN`, `IP`, `Name`, `Status`, `fw_upgrade` FROM `%s`.`ap_list` "
                   "WHERE `MAC`=UPPER('%s')",
                   AP_INFO, ap.mac);
}

std::optional<KnownAp> known_ap(Rows rows) {
  const std::optional<Row> row = rows.next();
  return row ? std::optional(KnownAp{row->number(0), row->text(1), row->text_or_none(2),
                                     row->number(3), row->text(4)})
             : std::nullopt;
}

/// Makes the AP's row; its serial number, or 0 when that failed.
int insert(Ap& ap, const std::string& ip, const Capability& capability) {
  const std::string profiles = getDefaultProfileSN();
  ap.db.run(Step(kOperation),
            "INSERT INTO `%s`.`ap_list` SET `STime`=NOW(), `ETime`='0000-00-00 00:00:00', "
            "`Name`='%s', `IP`='%s', `MAC`=UPPER('%s'), `Status`='%d', `pf_id`='%s', "
            "`5G_pf_id`='%s', `wired_id`='%s'%s%s",
            AP_INFO, ap.mac, ip, ap.mac, kConnected, profiles, profiles, getDefaultApWired(),
            capability.initial, capability.refresh);
  const int sn = cut_to<int>(ap.db.insert_id());
  if (sn != 0) {
    ap_sync_host(sn);
    setRemote(1, 0, sn, 0);
  }
  return sn;
}

/// Brings the row of a known AP up to date.
void update(Ap& ap, const std::string& ip, const Statement& refresh, const KnownAp& known) {
  const bool update_pending = !known.fw_upgrade.empty() && isRegularFile(known.fw_upgrade);
  const int status = update_pending ? kNotConnected : kConnected;
  const auto action = static_cast<int>(update_pending ? ApAction::update : ApAction::none);
  const SqlName firmware = update_pending ? SqlName("") : SqlName(", `fw_upgrade`=''");
  if (known.ip == ip) {
    ap.db.run(Step(kOperation),
              "UPDATE `%s`.`ap_list` SET `Status`=%d, `STime`=NOW(), "
              "`ETime`='0000-00-00 00:00:00', `action`=%d%s%s WHERE `MAC`=UPPER('%s')",
              AP_INFO, status, action, firmware, refresh, ap.mac);
  } else {
    ap.db.run(Step(kOperation),
              "UPDATE `%s`.`ap_list` SET `Status`=%d, `IP`='%s', `STime`=NOW(), "
              "`ETime`='0000-00-00 00:00:00', `action`=%d%s%s  WHERE `MAC`=UPPER('%s')",
              AP_INFO, status, ip, action, firmware, refresh, ap.mac);
  }
}

void join_again(Ap& ap, const std::string& ip, const Statement& refresh, const KnownAp& known) {
  const bool moves = known.ip != ip;
  if (moves) {
    setRemote(0, 0, known.sn, 0);
  }
  update(ap, ip, refresh, known);
  if (known.status == kNotConnected) {
    fetch_announcement(ap, NoticeEvent::join);
  }
  if (moves) {
    setRemote(1, 0, known.sn, 0);
  }
  if (known.status == kNotConnected) {
    announce(ap, {NoticeEvent::join, known.name, ap.mac, ip});
  }
}

}  // namespace

void ap_up_register(Ap& ap, const std::string& ip, const Capability& capability) {
  if (!ap.db.open()) {
    return;
  }
  Rows rows = look_up(ap);
  if (!rows) {
    return;
  }
  Statement refresh = capability.refresh;
  std::optional<KnownAp> known = known_ap(std::move(rows));
  if (!known && insert(ap, ip, capability) == 0) {
    // Another process may have been quicker. Only one of the two has read the capability file, so all
    // of it is written.
    known = known_ap(look_up(ap));
    refresh = statement("%s%s", capability.initial, capability.refresh);
  }
  if (known) {
    join_again(ap, ip, refresh, *known);
  } else {
    announce(ap, {NoticeEvent::join, std::nullopt, ap.mac, ip});
  }
}

void checkConnectionStatus(Ap& ap, const std::string& ip) {
  constexpr const char* kCheck = "checkConnectionStatus";
  if (!ap.db.open()) {
    return;
  }
  Rows rows = ap.db.ask(Step(kCheck),
                        "SELECT `Status`, `action` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')",
                        AP_INFO, ap.mac);
  const std::optional<Row> row = rows.next();
  if (row && row->number(0) == kNotConnected &&
      row->number(1) == static_cast<int>(ApAction::none)) {
    ap_block_remove(ap, Quiet::no, kCheck);
    ap_up_register(ap, ip, Capability{});
  }
}
