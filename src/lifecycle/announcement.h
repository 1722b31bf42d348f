#pragma once

#include <optional>
#include <string>

#include "db/connection.h"
#include "lifecycle/notice_mail.h"

/// Tells everybody that an AP has joined or left: a mail (setting 92), a push message to the mobile
/// users, a line in the connection log, in this order. Users are told of a join only when they were
/// told of the leave before it; a marker file (/var/log/notice/<MAC>) remembers that.
class Announcement {
 public:
  /// Sends the look-ups. That is apart from `send` so that their answers are waited for together
  /// with that of the statement before them. All three have to outlive the announcement.
  Announcement(Connection& db, NoticeEvent event, const std::string& mac);

  /// `name` and `ip` of the AP as the mail shows them.
  void send(const std::optional<std::string>& name, const std::optional<std::string>& ip) const;

 private:
  Connection& db_;
  NoticeEvent event_;
  const std::string& mac_;
  std::optional<Question> times_;
  std::optional<Question> recipients_;
};
