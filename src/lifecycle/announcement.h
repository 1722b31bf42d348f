#pragma once

#include <optional>
#include <string>

#include "db/ap.h"

enum class NoticeEvent { join, leave };

/// What is announced of an AP.
struct Notice {
  NoticeEvent event;
  std::optional<std::string> name;  // of the registry
  std::string mac;
  std::optional<std::string> ip;
};

/// Announces that the AP has joined or left, in this order: a mail (setting 92) to the recipients that
/// are set in the platform's mail record; a push message to each registered mobile user (app_login); a
/// line in the connection log. A join is pushed only after a leave was; a marker file
/// (/var/log/notice/<MAC>) records that. An AP is called by its MAC until an administrator names it.
void announce(Ap& ap, const Notice& notice);

/// Fetches ahead the queries of `announce`.
void fetch_announcement(Ap& ap, NoticeEvent event);

/// Writes "AP <name> <what>" into the connection log, with the MAC for an AP that has no name: today's
/// log of the AP controller. Forwards the line in the background to the log service, under the
/// priority number of setting 121. The line has no length limit.
void log_ap_event(Ap& ap, const char* what);

/// When an AP last joined and left, as the registry has it.
struct NoticeTimes {
  std::optional<std::string> joined;
  std::optional<std::string> left;
};

/// The text of the mail: lines that end in CR LF. A time that is none has no line.
std::string notice_body(const Notice& notice, const NoticeTimes& times);
