#include "lifecycle/announcement.h"

#include <unistd.h>

#include "control/traced_command.h"
#include "db/schema.h"
#include "lifecycle/connection_log.h"
#include "lifecycle/push_notice.h"
#include "platform/files.h"
#include "platform/settings.h"

namespace {

constexpr int kMailSetting = 92;  // 0: no notice mails
constexpr const char* kMarkers = "/var/log/notice";

bool is_marked(const std::string& mac) {
  return access(M("%s/%s", kMarkers, mac.c_str()).c_str(), F_OK) == 0;
}

}  // namespace

Announcement::Announcement(Connection& db, NoticeEvent event, const std::string& mac)
    : db_(db), event_(event), mac_(mac) {
  if (RI(kMailSetting) != 0) {
    times_ = ap_notice_times(db, mac);
  }
  if (event == NoticeEvent::leave || is_marked(mac)) {
    recipients_ = ap_push_recipients(db);
  }
}

void Announcement::send(const std::optional<std::string>& name,
                        const std::optional<std::string>& ip) const {
  const std::string message = notice_message(event_, name, mac_);
  if (times_) {
    ap_notice_mail({event_, name, mac_, ip, std::nullopt, std::nullopt}, times_);
  }
  if (recipients_) {
    ap_push_notice(db_, *recipients_, message);
    if (event_ == NoticeEvent::leave) {
      traced_command({"ap_down_record", mac_}, "> %s/%s", kMarkers, mac_.c_str());
    } else {
      my_rm("%s/%s", kMarkers, mac_.c_str());
    }
  }
  ap_connection_log(db_, message, kApControllerLog);
}
