#include "settings_check.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <regex>
#include <set>

#include "ini/ini_file.h"
#include "known_settings.h"
#include "platform/files.h"
#include "platform/settings.h"
#include "platform/text.h"
#include "store.h"
#include "values/decimal.h"
#include "values/paths.h"
#include "values/settings.h"

namespace {

constexpr std::size_t kMostBytes = 1'048'576;
constexpr const char* kMail = "mail";

std::string meaning(const KnownSetting& info, const std::string& value) {
  if (info.off != nullptr && is_off(info.unit, value)) {
    return info.off;
  }
  const int mode = decimal_int(value);
  if (info.key == std::to_string(setting::kMacFilter)) {
    return mode == setting::kMacFilterAlone
               ? "MAC filter, mode 1: sent to the APs; turns load balancing off"
               : M("MAC filter, mode %d: %s", mode, info.meaning);
  }
  if (info.key == std::to_string(setting::kLoadBalancing) &&
      RI(setting::kMacFilter) == setting::kMacFilterAlone) {
    return "load balancing is on, but setting 135 = 1 keeps it from working";
  }
  return info.meaning;
}

bool is_known(const std::string& section, const std::string& key) {
  // No settings of their own in the list: the rest of the mail record and the ports.
  static const std::regex kOthers("mail field[256]|port .* (name|bridge|mode)");
  const auto& known = known_settings();
  return std::regex_match(section + " " + key, kOthers) ||
         std::any_of(known.begin(), known.end(), [&](const KnownSetting& setting) {
           return section == setting.section && key == my_tolower(setting.key);
         });
}

Findings check_keys(const IniFile& values) {
  std::set<std::string> unknown;
  values.for_each([&](std::string_view section, std::string_view key, std::string_view /*value*/) {
    if (!is_known(std::string(section), std::string(key))) {
      unknown.insert("[" + std::string(section) + "] " + std::string(key));
    }
  });
  Findings findings;
  for (const std::string& setting : unknown) {
    findings.push_back({Severity::warning, "setting-unknown",
                        setting + " is no setting of the program.",
                        M("Correct its name in %s, or remove it; ap-run.ini(5) lists the settings.",
                          paths::kSettings)});
  }
  return findings;
}

Findings check_file() {
  if (access(paths::kSettings, F_OK) != 0) {
    return {};  // then every setting has its default
  }
  const std::optional<std::string> text =
      read_regular_file(paths::kSettings, kMostBytes, Links::follow);
  if (!text) {
    return {{Severity::problem, "settings-unreadable",
             M("%s cannot be read (%s): every setting has its default.", paths::kSettings,
               std::strerror(errno)),
             "Run ap-check as root. If this is root, mend the file's permissions."}};
  }
  std::string complaint;
  const std::optional<IniFile> values = IniFile::parse(*text, paths::kSettings, complaint);
  if (!values) {
    return {{Severity::problem, "settings-syntax",
             M("%s does not parse (%s): every setting has its default.", paths::kSettings,
               complaint.substr(0, complaint.find('\n')).c_str()),
             R"(Correct that line; a setting is "name = value" below a line "[section]".)"}};
  }
  return check_keys(*values);
}

}  // namespace

std::vector<Setting> effective_settings() {
  std::vector<Setting> settings;
  for (const KnownSetting& known : known_settings()) {
    const std::optional<std::string> text = store_text(known.section, known.key);
    const std::string value = text.value_or(known.initial);
    settings.push_back({known.section, known.key, text.has_value(), value, meaning(known, value)});
  }
  return settings;
}

Findings check_settings(const std::vector<Setting>& settings) {
  static const std::regex kNumber("[ \\t]*[-+]?[0-9]+");
  const std::string file = paths::kSettings;
  const auto is_used = [](const std::string& priority) {
    return priority == std::to_string(setting::kClientLogPriority)
               ? RI(setting::kClientLog) != 0
               : !declared_absent().contains("send_logmsg");
  };
  Findings findings = check_file();
  for (std::size_t i = 0; i < settings.size(); ++i) {
    const Setting& setting = settings[i];
    const KnownSetting& info = known_settings()[i];
    add(findings,
        amiss(
            {{is_number(info.unit) && !std::regex_match(setting.value, kNumber),
              {Severity::warning, "setting-no-number",
               "[" + setting.section + "] " + setting.key + " = " + setting.value +
                   " is no number and counts as " + std::to_string(decimal_int(setting.value)) +
                   ".",
               "Give it a number in " + file + "."}},
             {info.unit == Unit::priority && !setting.set && is_used(info.key),
              {Severity::note, "log-priority-unset",
               "Setting " + setting.key + " (" + info.name +
                   ") is not set, so its messages are emergencies, which system logs show on every "
                   "terminal.",
               "Set it in " + file + ", such as " + setting.key +
                   " = 134 (local0, info), or to 0 if this is meant."}}}));
  }
  const auto has_recipient = [](const char* field) {
    const std::string to = store_text(kMail, field).value_or(kMissingValue);
    return to != kMissingValue && !to.empty();
  };
  add(findings,
      amiss({{RI(setting::kMacFilter) != 0 && !isRegularFile(paths::kMacFilterList),
              {Severity::warning, "mac-filter-no-list",
               M("Setting 135 turns the MAC filter on, but there is no list %s: the APs are sent "
                 "the mode alone.",
                 paths::kMacFilterList),
               "Let the firewall configuration write the list, or set 135 = 0."}},
             {notices_are_mailed() && !has_recipient("field3") && !has_recipient("field4"),
              {Severity::warning, "mail-no-recipient",
               "Setting 92 asks for notice mails, but nobody is named to get them.",
               "Name recipients in " + file + ", section [mail], field3 and field4."}}}));
  return findings;
}

std::set<std::string> declared_absent() {
  const std::string value = store_text("check", "absent").value_or("");
  static const std::regex kName("[^, \\t]+");
  const std::sregex_token_iterator first(value.begin(), value.end(), kName);
  return {first, {}};
}

bool notices_are_mailed() {
  return RI(setting::kNoticeMails) != 0;
}
