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

/// The settings service; its operations are used in this order.
struct MailSettings {
  void (*initialise)(MailRecord& record);
  void (*initialise_record)(MailRecord& record, int reserved);
  /// Fills the record. `caller` names the calling process and place. Null when there is no record.
  MailHandle* (*open)(MailRecord& record, const std::string& caller, int reserved);
  void (*release)(MailHandle* handle);
};

/// The settings service, which belongs to the platform; null when there is none.
MailSettings* setting_register();
void setting_unregister(MailSettings* settings);

/// Sends one mail to `to`. Subject and body are texts of any bytes, which cannot add a header; lines of
/// the body end in CR LF or line feeds, and reach the mail program with line feeds. The fields are those
/// of the mail record, `field5` and `field6` none when unset; the plain Debian platform takes `field1`
/// for the sender. The numbers are 0. Returns 0 when the mail program took the message, else -1; waits
/// 10 seconds at most.
int my_buildMailAndSend(int reserved1, const std::string& field1, const std::string& to,
                        int reserved2, const std::string& subject, const std::string& body,
                        int reserved3, int reserved4, const std::optional<std::string>& field5,
                        const std::optional<std::string>& field6, const std::string& field2);
