#include "lifecycle/announcement.h"

#include <unistd.h>

#include "control/shell_command.h"
#include "lifecycle/connection_log.h"
#include "lifecycle/push_notice.h"
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
