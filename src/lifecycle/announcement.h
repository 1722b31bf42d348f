#pragma once

#include <optional>
#include <string>

#include "db/ap.h"
#include "lifecycle/notice_mail.h"

/// Tells everybody that the AP has joined or left: a mail (setting 92), a push message to each mobile
/// user that is registered (app_login), a line in the connection log, in this order. Users are told
/// of a join only when they were told of the leave before it; a marker file (/var/log/notice/<MAC>)
/// remembers that. `name` and `ip` are the AP's as the mail shows them.
void announce(Ap& ap, NoticeEvent event, const std::optional<std::string>& name,
              const std::optional<std::string>& ip);

/// Fetches ahead what that asks.
void fetch_announcement(Ap& ap, NoticeEvent event);

/// Writes "AP <name> <what>" into the connection log; the MAC stands in for the name of an AP that
/// has none. The log is the day's of the AP controller, forwarded in the background to the log
/// service, under the priority number of setting 121. The line has no length limit.
void log_ap_event(Ap& ap, const char* what);
