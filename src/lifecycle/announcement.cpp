#include "lifecycle/announcement.h"

#include <unistd.h>

#include "control/shell_command.h"
#include "db/registry.h"
#include "db/schema.h"
#include "platform/files.h"
#include "platform/settings.h"
#include "values/paths.h"
#include "values/settings.h"

namespace {

std::string marker(const std::string& mac) {
  return M("%s/%s", paths::kNotices, mac.c_str());
}

/// Whether the mobile users are told.
bool is_pushed(const Ap& ap, NoticeEvent event) {
  return event == NoticeEvent::leave || access(marker(ap.mac).c_str(), F_OK) == 0;
}

Query push_recipients_query() {
  return query(Step("ap_push_notice"), "SELECT `ID`, `TYPE` FROM `%s`.`%s`", AP_USER,
               table_name(InfoTable::app_login));
}

void ap_push_notice(Ap& ap, const std::string& message) {
  for (const Row& row : ap.db.ask(push_recipients_query())) {
    run_command({"ap_push_notice", ap.mac},
                R"(/usr/sbin/mobile_pushmsg %s 0 "%s" "%s" 1 >/dev/null 2>&1 &)", row.text(1),
                row.text(0), message);
  }
}

void ap_connection_log(Ap& ap, const std::string& message) {
  const char* const table = CONNTRACK_LOG_TABLE[kApControllerLog];
  ap.db.run(Step("ap_connection_log"),
            "INSERT INTO `%s_%s`.`%s` (`STime`, `Program`, `Type`, `Msg`) "
            "VALUES (NOW(), '%s', %d, '%s')",
            CONNTRACK_LOG, SqlNumber{my_getDate(0)}, SqlName::exported(table), "ap-run",
            kApControllerLog, message);
  run_command({"ap_connection_log", ap.mac},
              "/usr/sbin/send_logmsg -u -d %s -t %s -m \"<%d>[ Connection Log - AP Controller ] "
              "%s\" > /dev/null &",
              CONNTRACK_LOG.text(), table, RI(setting::kLogPriority), message);
}

}  // namespace

void fetch_announcement(Ap& ap, NoticeEvent event) {
  if (RI(setting::kNoticeMails) != 0) {
    ap.db.fetch_ahead(notice_times_query(ap.mac));
  }
  if (is_pushed(ap, event)) {
    ap.db.fetch_ahead(push_recipients_query());
  }
}

void announce(Ap& ap, NoticeEvent event, const std::optional<std::string>& name,
              const std::optional<std::string>& ip) {
  const std::string message = notice_message(event, name, ap.mac);
  if (RI(setting::kNoticeMails) != 0) {
    ap_notice_mail(ap.db, {event, name, ap.mac, ip});
  }
  if (is_pushed(ap, event)) {
    ap_push_notice(ap, message);
    if (event == NoticeEvent::leave) {
      run_command({"ap_down_record", ap.mac}, "> %s", marker(ap.mac));
    } else {
      my_rm("%s", marker(ap.mac).c_str());
    }
  }
  ap_connection_log(ap, message);
}

void log_ap_event(Ap& ap, const char* what) {
  const std::string label = get_ap_name_by_mac(ap.db, ap.mac).value_or(ap.mac);
  ap_connection_log(ap, M("AP %s %s", label.c_str(), what));
}
