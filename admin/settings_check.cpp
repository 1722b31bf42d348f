#include "settings_check.h"

#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <set>

#include "ini/ini_file.h"
#include "platform/files.h"
#include "platform/settings.h"
#include "platform/text.h"
#include "store.h"
#include "values/decimal.h"

namespace {

constexpr const char* kFile = "/etc/ap-run/platform.ini";
constexpr std::size_t kMostBytes = 1'048'576;
constexpr const char* kMacFilterList = "/etc/sysconfig/.firewall/wireless_mac_filter.conf";

enum class Kind { number, text };

struct KnownSetting {
  const char* section;
  const char* key;
  Kind kind;
  const char* fallback;
  const char* meaning;                                   // of a value other than 0
  const char* meaning_of_zero = nullptr;                 // where 0 means something else
  std::string (*explain)(const std::string&) = nullptr;  // where more is to be said
};

constexpr int kMailSetting = 92;
constexpr int kMacFilterSetting = 135;
constexpr int kMacFilterAlone = 1;  // the mode that turns load balancing off

bool is_on(const std::string& value) {
  return decimal_int(value) != 0;
}

std::string load_balancing(const std::string& value) {
  if (!is_on(value)) {
    return "load balancing is off: no station is sent away or refused";
  }
  return RI(kMacFilterSetting) == kMacFilterAlone
             ? "load balancing is on, but setting 135 = 1 keeps it from working"
             : "load balancing is on: crowded APs send stations away";
}

std::string mac_filter(const std::string& value) {
  switch (decimal_int(value)) {
    case 0:
      return "MAC filter is off";
    case kMacFilterAlone:
      return "MAC filter, mode 1: sent to the APs; turns load balancing off";
    default:
      return M("MAC filter, mode %d: sent to the APs; lifts the blocks of an AP that reports",
               decimal_int(value));
  }
}

std::string log_address(const std::string& value) {
  return value == "0.0.0.0" || value == "0000:0000:0000:0000:0000:0000:0000:0000"
             ? "no address: stations stay out of the client connection log"
             : "does not keep stations out of the client connection log (see 113)";
}

std::string bridged_port(const std::string& value) {
  return value.empty() ? "no port is announced on through a bridge"
                       : "the port of this name is announced on through its bridge";
}

const std::vector<KnownSetting>& known_settings() {
  static const std::vector<KnownSetting> settings{
      {"settings", "1", Kind::number, "0", "port on which APs download firmware from here"},
      {"settings", "30", Kind::text, "", "", nullptr, log_address},
      {"settings", "41", Kind::text, "", "", nullptr, bridged_port},
      {"settings", "79", Kind::number, "0", "", nullptr, load_balancing},
      {"settings", "91", Kind::number, "0", "auto-RF is on: APs step their power",
       "auto-RF is off: APs keep their power"},
      {"settings", "92", Kind::number, "0", "a mail is sent when an AP joins or leaves",
       "no mails are sent"},
      {"settings", "113", Kind::number, "0", "stations are written to the client connection log",
       "no client connection log is written"},
      {"settings", "121", Kind::number, "0", "priority number of connection-log messages"},
      {"settings", "126", Kind::number, "0", "priority number of client connection-log lines"},
      {"settings", "135", Kind::number, "0", "", nullptr, mac_filter},
      {"named", "SYSTEM_PORT_NUM", Kind::number, "0",
       "system ports that a leaving AP is announced on, from [port 1]",
       "a leaving AP is announced on no port"},
      {"controller", "default_profile_sn", Kind::text, "1", "SSID profiles of a new AP"},
      {"controller", "default_ap_wired", Kind::text, "1", "wired setting of a new AP"},
      {"mail", "field1", Kind::text, "", "sender of notice mails"},
      {"mail", "field3", Kind::text, "", "first recipient of notice mails"},
      {"mail", "field4", Kind::text, "", "second recipient of notice mails"}};
  return settings;
}

std::string meaning(const KnownSetting& setting, const std::string& value) {
  if (setting.explain != nullptr) {
    return setting.explain(value);
  }
  return setting.meaning_of_zero == nullptr || is_on(value) ? setting.meaning
                                                            : setting.meaning_of_zero;
}

/// Keys that are no setting of their own in the list: the rest of the mail record and the ports.
bool is_known(const std::string& section, const std::string& key) {
  for (const KnownSetting& known : known_settings()) {
    if (section == my_tolower(known.section) && key == my_tolower(known.key)) {
      return true;
    }
  }
  static const std::set<std::string> mail{"field2", "field5", "field6"};
  static const std::set<std::string> port{"name", "bridge", "mode"};
  return (section == "mail" && mail.contains(key)) ||
         (section.starts_with("port ") && port.contains(key));
}

Findings check_keys(const IniFile& values) {
  Findings findings;
  values.for_each([&](std::string_view section, std::string_view key, std::string_view /*value*/) {
    if (!is_known(std::string(section), std::string(key))) {
      findings.push_back({Severity::warning, "setting-unknown",
                          M("[%s] %s is no setting of the program.", std::string(section).c_str(),
                            std::string(key).c_str()),
                          "Correct its name in " + std::string(kFile) +
                              ", or remove it; ap-run.ini(5) lists the settings."});
    }
  });
  std::sort(findings.begin(), findings.end(),
            [](const Finding& a, const Finding& b) { return a.what < b.what; });
  return findings;
}

Findings check_file() {
  if (access(kFile, F_OK) != 0) {
    return {};  // then every setting has its default
  }
  const std::optional<std::string> text = read_regular_file(kFile, kMostBytes, Links::follow);
  if (!text) {
    return {
        {Severity::problem, "settings-unreadable",
         M("%s cannot be read (%s): every setting has its default.", kFile, std::strerror(errno)),
         "Run ap-check as root. If this is root, mend the file's permissions."}};
  }
  std::string complaint;
  const std::optional<IniFile> values = IniFile::parse(*text, kFile, complaint);
  if (!values) {
    return {{Severity::problem, "settings-syntax",
             M("%s does not parse (%s): every setting has its default.", kFile,
               complaint.substr(0, complaint.find('\n')).c_str()),
             R"(Correct that line; a setting is "name = value" below a line "[section]".)"}};
  }
  return check_keys(*values);
}

bool is_number(const std::string& value) {
  const std::size_t start = value.find_first_not_of(" \t");
  if (start == std::string::npos) {
    return false;
  }
  const std::size_t digits = value[start] == '-' || value[start] == '+' ? start + 1 : start;
  return digits < value.size() &&
         value.find_first_not_of("0123456789", digits) == std::string::npos;
}

}  // namespace

std::vector<Setting> effective_settings() {
  std::vector<Setting> settings;
  for (const KnownSetting& known : known_settings()) {
    const std::optional<std::string> text = store_text(known.section, known.key);
    const std::string value = text.value_or(known.fallback);
    settings.push_back({known.section, known.key, text.has_value(), value, meaning(known, value)});
  }
  return settings;
}

Findings check_settings(const std::vector<Setting>& settings) {
  Findings findings = check_file();
  for (std::size_t i = 0; i < settings.size(); ++i) {
    const Setting& setting = settings[i];
    if (known_settings()[i].kind == Kind::number && !is_number(setting.value)) {
      findings.push_back({Severity::warning, "setting-no-number",
                          "[" + setting.section + "] " + setting.key + " = " + setting.value +
                              " is no number and counts as " +
                              std::to_string(decimal_int(setting.value)) + ".",
                          "Give it a number in " + std::string(kFile) + "."});
    }
  }
  if (RI(kMacFilterSetting) != 0 && !isRegularFile(kMacFilterList)) {
    findings.push_back({Severity::warning, "mac-filter-no-list",
                        M("Setting 135 turns the MAC filter on, but there is no list %s: the APs "
                          "are sent the mode alone.",
                          kMacFilterList),
                        "Let the firewall configuration write the list, or set 135 = 0."});
  }
  const auto has_recipient = [](const char* field) {
    const std::string to = store_text("mail", field).value_or(kMissingValue);
    return to != kMissingValue && !to.empty();
  };
  if (notices_are_mailed() && !has_recipient("field3") && !has_recipient("field4")) {
    findings.push_back(
        {Severity::warning, "mail-no-recipient",
         "Setting 92 asks for notice mails, but nobody is named to get them.",
         "Name recipients in " + std::string(kFile) + ", section [mail], field3 and field4."});
  }
  return findings;
}

bool notices_are_mailed() {
  return RI(kMailSetting) != 0;
}
