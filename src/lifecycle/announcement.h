#pragma once

#include <optional>
#include <string>

#include "db/ap.h"

enum class NoticeEvent { join, leave };

/// What there is to tell of an AP.
struct Notice {
  NoticeEvent event;
  std::optional<std::string> name;  // of the registry
  std::string mac;
  std::optional<std::string> ip;
};

/// Tells everybody that the AP has joined or left: a mail (setting 92) to the two recipients of the
/// platform's mail record, as far as they are set; a push message to each mobile user that is
/// registered (app_login); a line in the connection log, in this order. Users are told of a join only
/// when they were told of the leave before it; a marker file (/var/log/notice/<MAC>) remembers that.
/// An AP without a name of its own (none, or the MAC, which an AP is called until an administrator
/// names it) goes by its MAC.
void announce(Ap& ap, const Notice& notice);

/// Fetches ahead what that asks.
void fetch_announcement(Ap& ap, NoticeEvent event);

/// Writes "AP <name> <what>" into the connection log; the MAC stands in for the name of an AP that
/// has none. The log is the day's of the AP controller, forwarded in the background to the log
/// service, under the priority number of setting 121. The line has no length limit.
void log_ap_event(Ap& ap, const char* what);

/// When an AP last joined and left, as the registry has it.
struct NoticeTimes {
  std::optional<std::string> joined;
  std::optional<std::string> left;
};

/// The text of the mail: lines that end in CR LF. Without times the lines of the times are left out.
std::string notice_body(const Notice& notice, const NoticeTimes& times);
