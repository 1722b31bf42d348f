#include "lifecycle/notice_mail.h"

#include <unistd.h>

#include "db/schema.h"
#include "platform/mail.h"
#include "platform/system_log.h"

namespace {

constexpr const char* kProgram = "ap-run";

bool own_name(const std::optional<std::string>& name, const std::string& mac) {
  return name && *name != mac;
}

std::optional<std::string> unless_unset(const std::string& field) {
  return field == kMissingValue ? std::nullopt : std::optional<std::string>(field);
}

void send_to(const MailRecord& record, const std::string& recipient, const std::string& subject,
             const std::string& body) {
  if (recipient != kMissingValue &&
      my_buildMailAndSend(0, record.field1, recipient, 0, subject, body, 0, 0,
                          unless_unset(record.field5), unless_unset(record.field6),
                          record.field2) != 0) {
    my_report_loss(Loss::helper, Remedy::none,
                   M("the mail to %s was not sent: %s", recipient.c_str(), subject.c_str()));
  }
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
      M("pid:%d,%s:%s():%d", static_cast<int>(getpid()), kProgram, "_send_notice_mail", __LINE__);
  if (MailHandle* handle = settings->open(record, caller, 0)) {
    send_to(record, record.field3, subject, body);
    send_to(record, record.field4, subject, body);
    settings->release(handle);
  }
  setting_unregister(settings);
}

}  // namespace

std::string notice_message(NoticeEvent event, const std::optional<std::string>& name,
                           const std::string& mac) {
  return M("AP %s %s", own_name(name, mac) ? name->c_str() : mac.c_str(),
           event == NoticeEvent::join ? "is connected." : "is disconnected.");
}

Query notice_times_query(const std::string& mac) {
  return query(Step("ap_notice_mail"),
               "SELECT `STime`, `ETime` FROM `%s`.`ap_list` WHERE `MAC`=UPPER('%s')", AP_INFO, mac);
}

std::string notice_body(const NoticeMail& mail, const NoticeTimes& times) {
  std::string body = M("Name: %s\r\nMAC: %s\r\nIP: %s\r\n",
                       own_name(mail.name, mail.mac) ? mail.name->c_str() : "---", mail.mac.c_str(),
                       mail.ip.value_or("---").c_str());
  const bool tells_left = mail.event == NoticeEvent::leave && times.left;
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

void ap_notice_mail(Connection& db, const NoticeMail& mail) {
  Rows rows = db.ask(notice_times_query(mail.mac));
  const std::optional<Row> row = rows.next();
  const NoticeTimes times =
      row ? NoticeTimes{row->text_or_none(0), row->text_or_none(1)} : NoticeTimes{};
  _send_notice_mail(notice_message(mail.event, mail.name, mail.mac), notice_body(mail, times));
}
