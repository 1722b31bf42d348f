#pragma once

#include <optional>
#include <string>

#include "db/connection.h"

enum class NoticeEvent { join, leave };

/// "AP <name> is connected." or "... is disconnected.". An AP without a name of its own (none, or
/// the MAC, which an AP is called until an administrator names it) goes by its MAC.
std::string notice_message(NoticeEvent event, const std::optional<std::string>& name,
                           const std::string& mac);

/// What a notice mail is made of.
struct NoticeMail {
  NoticeEvent event;
  std::optional<std::string> name;  // of the registry
  std::string mac;
  std::optional<std::string> ip;
};

/// When an AP last joined and left, as the registry has it.
struct NoticeTimes {
  std::optional<std::string> joined;
  std::optional<std::string> left;
};

/// Lines that end in CR LF. Without times the lines of the times are left out.
std::string notice_body(const NoticeMail& mail, const NoticeTimes& times);

/// Sends the mail to the two recipients of the platform's mail record, as far as they are set.
void ap_notice_mail(Connection& db, const NoticeMail& mail);

/// Its query, to be fetched ahead.
Query notice_times_query(const std::string& mac);
