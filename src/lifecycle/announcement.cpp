#include "lifecycle/announcement.h"

#include <unistd.h>

#include "control/shell_command.h"
#include "db/registry.h"
#include "db/schema.h"
#include "platform/files.h"
#include "platform/mail.h"
#include "platform/settings.h"
#include "platform/system_log.h"
#include "values/paths.h"
#include "values/settings.h"

namespace {

bool has_own_name(const Notice& notice) {
  return notice.name && *notice.name != notice.mac;
}

std::string notice_message(const Notice& notice) {
  return M("AP %s %s", has_own_name(notice) ? notice.name->c_str() : notice.mac.c_str(),
           notice.event == NoticeEvent::join ? "is connected." : "is disconnected.");
}

std::optional<std::string> unless_unset(const std::string& field) {
  return field == kMissingValue ? std::nullopt : std::optional<std::string>(field);
}

void _send_notice_mail(const std::string& subject, const std::string& body) {
  MailSettings* settings = setting_register();
  if (settings == nullptr) {
    return;
  }
  MailRecord record;
  settings->initialise(record);
  settings->initialise_record(record, 0);
  const std::string caller =
      M("pid:%d,%s:%s():%d", static_cast<int>(getpid()), "ap-run", "_send_notice_mail", __LINE__);
  if (MailHandle* handle = settings->open(record, caller, 0)) {
    for (const std::string& recipient : {record.field3, record.field4}) {
      if (recipient != kMissingValue &&
          my_buildMailAndSend(0, record.field1, recipient, 0, subject, body, 0, 0,
                              unless_unset(record.field5), unless_unset(record.field6),
                              record.field2) != 0) {
        my_report_loss(Loss::helper, Remedy::none,
                       M("the mail to %s was not sent: %s", recipient.c_str(), subject.c_str()));
      }
    }
    settings->release(handle);
  }
  setting_unregister(settings);
}

Query notice_times_query(const Ap& ap) {
  return query(Step("ap_notice_mail"),
               "SELECT `STime`, `ETime` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')", AP_INFO,
               ap.mac);
}

void ap_notice_mail(Ap& ap, const std::string& message, const Notice& notice) {
  Rows rows = ap.db.ask(notice_times_query(ap));
  const std::optional<Row> row = rows.next();
  const NoticeTimes times =
      row ? NoticeTimes{row->text_or_none(0), row->text_or_none(1)} : NoticeTimes{};
  _send_notice_mail(message, notice_body(notice, times));
}

std::string marker(const std::string& mac) {
  return M("%s/%s", paths::kNotices, mac.c_str());
}

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
              "/usr/sbin/send_logmsg -u -d %s -t %s -m \"<%s>[ Connection Log - AP Controller ] "
              "%s\" > /dev/null &",
              CONNTRACK_LOG.text(), table, std::to_string(RI(setting::kLogPriority)), message);
}

}  // namespace

std::string notice_body(const Notice& notice, const NoticeTimes& times) {
  std::string body =
      M("Name: %s\r\nMAC: %s\r\nIP: %s\r\n", has_own_name(notice) ? notice.name->c_str() : "---",
        notice.mac.c_str(), notice.ip.value_or("---").c_str());
  const bool tells_left = notice.event == NoticeEvent::leave && times.left;
  if (times.joined || tells_left) {
    body += "\r\n";
  }
  if (times.joined) {
    body += "Connected: " + *times.joined + "\r\n";
  }
  if (tells_left) {
    body += "Disconnected: " + *times.left + "\r\n";
  }
  return body;
}

void fetch_announcement(Ap& ap, NoticeEvent event) {
  if (RI(setting::kNoticeMails) != 0) {
    ap.db.fetch_ahead(notice_times_query(ap));
  }
  if (is_pushed(ap, event)) {
    ap.db.fetch_ahead(push_recipients_query());
  }
}

void announce(Ap& ap, const Notice& notice) {
  const std::string message = notice_message(notice);
  if (RI(setting::kNoticeMails) != 0) {
    ap_notice_mail(ap, message, notice);
  }
  if (is_pushed(ap, notice.event)) {
    ap_push_notice(ap, message);
    if (notice.event == NoticeEvent::leave) {
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
