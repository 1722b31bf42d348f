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
  std::optional<std::string> time_text;  // of the event, in place of the registry's times
  std::optional<std::string> subject;    // in place of the message
};

/// When an AP last joined and left, as the registry has it.
struct NoticeTimes {
  std::optional<std::string> joined;
  std::optional<std::string> left;
};

/// Asks for the times, for ap_notice_mail.
[[nodiscard]] Question ap_notice_times(Connection& db, const std::string& mac);

/// Lines that end in CR LF. Without times the lines of the times are left out.
std::string notice_body(const NoticeMail& mail, const NoticeTimes& times);

/// Sends the mail to the two recipients of the platform's mail record, as far as they are set.
/// Times are only asked for by the caller of a mail without `time_text`.
void ap_notice_mail(const NoticeMail& mail, const std::optional<Question>& times);
