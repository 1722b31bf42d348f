#include "lifecycle/join.h"

#include <optional>

#include "db/connection.h"
#include "db/schema.h"
#include "lifecycle/announcement.h"
#include "platform/controller.h"
#include "platform/files.h"
#include "values/decimal.h"

namespace {

constexpr const char* kOperation = "ap_up_register";

/// A join as it was reported.
struct Join {
  std::string ip;
  std::string mac;
  Capability capability;
};

/// What the registry has of an AP.
struct KnownAp {
  int sn = 0;
  std::string ip;
  std::optional<std::string> name;
  int status = kNotConnected;
  std::string fw_upgrade;
};

Rows look_up(Connection& db, const std::string& mac) {
  return db
      .ask(Step(kOperation),
           "SELECT `SN`, `IP`, `Name`, `Status`, `fw_upgrade` FROM `%s`.`ap_list` "
           "WHERE `MAC`=UPPER('%s')",
           AP_INFO, mac.c_str())
      .rows();
}

std::optional<KnownAp> known_ap(Rows rows) {
  const std::optional<Row> row = rows.next();
  if (!row) {
    return std::nullopt;
  }
  const std::optional<std::string_view> name = (*row)[2];
  return KnownAp{row->number(0), row->text(1),
                 name ? std::optional<std::string>(*name) : std::nullopt, row->number(3),
                 row->text(4)};
}

/// Makes the AP's row; its serial number, or 0 when that failed.
int insert(Connection& db, const Join& join) {
  const std::string profiles = sql_text(getDefaultProfileSN());
  db.run(Step(kOperation),
         "INSERT INTO `%s`.`ap_list` SET `STime`=NOW(), `ETime`='0000-00-00 00:00:00', "
         "`Name`='%s', `IP`='%s', `MAC`=UPPER('%s'), `Status`='%d', `pf_id`='%s', "
         "`5G_pf_id`='%s', `wired_id`='%s'%s%s",
         AP_INFO, join.mac.c_str(), sql_text(join.ip).c_str(), join.mac.c_str(), kConnected,
         profiles.c_str(), profiles.c_str(), sql_text(getDefaultApWired()).c_str(),
         join.capability.initial.c_str(), join.capability.refresh.c_str());
  const int sn = cut_to<int>(db.insert_id());
  if (sn != 0) {
    ap_sync_host(sn);
    setRemote(1, 0, sn, 0);
  }
  return sn;
}

/// Brings the row of a known AP up to date.
void update(Connection& db, const Join& join, const KnownAp& ap) {
  const bool update_pending = !ap.fw_upgrade.empty() && isRegularFile(ap.fw_upgrade);
  const int status = update_pending ? kNotConnected : kConnected;
  const auto action = static_cast<int>(update_pending ? ApAction::update : ApAction::none);
  const char* firmware = update_pending ? "" : ", `fw_upgrade`=''";
  const char* refresh = join.capability.refresh.c_str();
  if (ap.ip == join.ip) {
    db.run(Step(kOperation),
           "UPDATE `%s`.`ap_list` SET `Status`=%d, `STime`=NOW(), "
           "`ETime`='0000-00-00 00:00:00', `action`=%d%s%s WHERE `MAC`=UPPER('%s')",
           AP_INFO, status, action, firmware, refresh, join.mac.c_str());
  } else {
    db.run(Step(kOperation),
           "UPDATE `%s`.`ap_list` SET `Status`=%d, `IP`='%s', `STime`=NOW(), "
           "`ETime`='0000-00-00 00:00:00', `action`=%d%s%s  WHERE `MAC`=UPPER('%s')",
           AP_INFO, status, sql_text(join.ip).c_str(), action, firmware, refresh, join.mac.c_str());
  }
}

void join_again(Connection& db, const Join& join, const KnownAp& ap) {
  const bool moves = ap.ip != join.ip;
  if (moves) {
    setRemote(0, 0, ap.sn, 0);
  }
  update(db, join, ap);
  std::optional<Announcement> announcement;
  if (ap.status == kNotConnected) {
    announcement.emplace(db, NoticeEvent::join, join.mac);
  }
  if (moves) {
    setRemote(1, 0, ap.sn, 0);
  }
  if (announcement) {
    announcement->send(ap.name, join.ip);
  }
}

}  // namespace

void ap_up_register(const std::string& ip, const std::string& mac, const Capability& capability) {
  Connection db(mac);
  if (!db) {
    return;
  }
  Rows rows = look_up(db, mac);
  if (!rows) {
    return;
  }
  Join join{ip, mac, capability};
  std::optional<KnownAp> ap = known_ap(std::move(rows));
  if (!ap) {
    if (insert(db, join) == 0) {
      // Another process may have been quicker. Only one of the two has read what the AP says of
      // itself, so for an AP that was new a moment ago all of it is written.
      ap = known_ap(look_up(db, mac));
      join.capability.refresh = capability.initial + capability.refresh;
    }
    if (!ap) {
      Announcement(db, NoticeEvent::join, mac).send(std::nullopt, ip);
      return;
    }
  }
  join_again(db, join, *ap);
}
