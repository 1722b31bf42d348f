#include "platform/mail.h"

#include <openssl/evp.h>

#include <algorithm>
#include <array>
#include <string_view>

#include "child.h"
#include "platform/text.h"
#include "store.h"
#include "values/paths.h"
#include "values/visible_text.h"

struct MailHandle {};

namespace {

constexpr ChildLimit kMailLimit = std::chrono::seconds(10);  // a mail program queues and returns

/// Bytes of one encoded word. They give 48 characters, so that with the longest frame and "Subject: "
/// before it a line keeps to the 76 that the mail standard (RFC 2047) allows one with encoded words.
constexpr std::size_t kEncodedWordBytes = 36;

MailHandle opened;

void initialise(MailRecord& record) {
  record = MailRecord{kMissingValue, kMissingValue, kMissingValue,
                      kMissingValue, kMissingValue, kMissingValue};
}

MailHandle* open_record(MailRecord& record, const std::string& /*caller*/, int /*reserved*/) {
  const std::array<std::string*, 6> fields{&record.field1, &record.field2, &record.field3,
                                           &record.field4, &record.field5, &record.field6};
  for (std::size_t i = 0; i < fields.size(); ++i) {
    *fields[i] = store_text("mail", M("field%zu", i + 1)).value_or(kMissingValue);
  }
  return &opened;
}

MailSettings service{initialise, [](MailRecord& record, int /*reserved*/) { initialise(record); },
                     open_record, [](MailHandle* /*handle*/) {}};

bool is_plain(std::string_view text) {
  return text.find("=?") == std::string_view::npos &&
         std::all_of(text.begin(), text.end(),
                     [](char letter) { return letter >= ' ' && letter <= '~'; });
}

/// `bytes`, kEncodedWordBytes at most, in base64.
std::string base64(std::string_view bytes) {
  std::array<unsigned char, kEncodedWordBytes / 3 * 4 + 1> text{};
  const int length =
      EVP_EncodeBlock(text.data(), reinterpret_cast<const unsigned char*>(bytes.data()),
                      static_cast<int>(bytes.size()));
  return {text.begin(), text.begin() + length};
}

/// `text` as the value of a header: plain text as it is, anything else as encoded words (RFC 2047),
/// which hold no line end. Bytes that are no UTF-8 are taken for Latin-1.
std::string header_text(std::string_view text) {
  if (is_plain(text)) {
    return std::string(text);
  }
  const bool utf8 = is_utf8(text);
  std::string value;
  while (!text.empty()) {
    std::size_t length = 0;
    while (length < text.size()) {
      const std::size_t next = utf8 ? utf8_length(text.substr(length)) : 1;
      if (length + next > kEncodedWordBytes) {
        break;
      }
      length += next;
    }
    value += M("%s=?%s?B?%s?=", value.empty() ? "" : "\n ", utf8 ? "UTF-8" : "ISO-8859-1",
               base64(text.substr(0, length)).c_str());
    text.remove_prefix(length);
  }
  return value;
}

/// An address for a header: without everything from the first line end on.
std::string address(const std::string& text) {
  return text.substr(0, text.find_first_of("\r\n"));
}

/// `text` with line feeds for line ends: the mail program makes those of the transport itself.
std::string with_line_feeds(std::string text) {
  for (std::size_t at = text.find("\r\n"); at != std::string::npos; at = text.find("\r\n", at)) {
    text.erase(at, 1);
  }
  return text;
}

}  // namespace

MailSettings* setting_register() {
  return &service;
}

void setting_unregister(MailSettings* /*settings*/) {}

int my_buildMailAndSend(int /*reserved1*/, const std::string& field1, const std::string& to,
                        int /*reserved2*/, const std::string& subject, const std::string& body,
                        int /*reserved3*/, int /*reserved4*/,
                        const std::optional<std::string>& /*field5*/,
                        const std::optional<std::string>& /*field6*/,
                        const std::string& /*field2*/) {
  std::string message;
  if (!field1.empty() && field1 != kMissingValue) {
    message = my_string(std::move(message), "From: %s\n", address(field1).c_str());
  }
  message = my_string(std::move(message),
                      "To: %s\n"
                      "Subject: %s\n"
                      "MIME-Version: 1.0\n"
                      "Content-Type: text/plain; charset=%s\n"
                      "Content-Transfer-Encoding: 8bit\n"
                      "\n",
                      address(to).c_str(), header_text(subject).c_str(),
                      is_utf8(body) ? "UTF-8" : "ISO-8859-1");
  message += with_line_feeds(body);
  return run_child({paths::kSendmail, "-oi", "-t"}, message, kMailLimit) == 0 ? 0 : -1;
}
