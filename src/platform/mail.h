#pragma once

#include <memory>
#include <optional>
#include <string>

/// The mail record of the settings service. A field that holds kMissingValue is unset. Fields 3 and
/// 4 are the two recipients of notices; the others belong to the mail service.
struct MailRecord {
  std::string field1, field2, field3, field4, field5, field6;
};

/// An opened mail record; the platform's own.
struct MailHandle;

/// The settings service as an object with its operations, in the order in which they are used.
struct MailSettings {
  void (*initialise)(MailRecord& record);
  void (*initialise_record)(MailRecord& record, int reserved);
  /// Fills the record. `caller` names the calling process and place. Null when there is no record.
  MailHandle* (*open)(MailRecord& record, const std::string& caller, int reserved);
  void (*release)(MailHandle* handle);
};

/// The settings service, which stays the platform's; null when there is none.
MailSettings* setting_register();
void setting_unregister(MailSettings* settings);

/// Sends one mail. `to` is the recipient; subject and body are texts of any bytes, which cannot add
/// a header. The plain Debian platform takes `field1` for the sender. The numbers are 0. `field1`,
/// `field5`, `field6` and `field2` are those of the mail record, `field5` and `field6` none when
/// unset. Lines of the body end in CR LF, or line feeds; what the mail program gets ends in line
/// feeds. Returns 0 when the mail program took the message, else -1; waits 10 seconds at most.
int my_buildMailAndSend(int reserved1, const std::string& field1, const std::string& to,
                        int reserved2, const std::string& subject, const std::string& body,
                        int reserved3, int reserved4, const std::optional<std::string>& field5,
                        const std::optional<std::string>& field6, const std::string& field2);
