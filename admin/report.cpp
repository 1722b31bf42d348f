#include "report.h"

#include <algorithm>

#include "escape.h"
#include "platform/text.h"
#include "values/paths.h"

namespace {

/// Text is broken before this column.
constexpr std::size_t kWidth = 96;

/// `text` in lines that begin with `indent` blanks, behind `head` in the first.
std::string wrapped(std::string head, std::size_t indent, const std::string& text) {
  std::string result;
  std::string line = std::move(head);
  line.resize(std::max(line.size(), indent), ' ');
  bool first = true;
  for (std::size_t at = 0; at < text.size();) {
    const std::size_t end = std::min(text.find(' ', at), text.size());
    const std::string word = text.substr(at, end - at);
    if (!first && line.size() + 1 + word.size() > kWidth) {
      result += line + "\n";
      line.assign(indent, ' ');
      first = true;
    }
    line += (first ? "" : " ") + word;
    first = false;
    at = end + 1;
  }
  return result + line + "\n";
}

const char* severity_name(Severity severity) {
  switch (severity) {
    case Severity::note:
      return "note";
    case Severity::warning:
      return "warning";
    case Severity::problem:
      return "problem";
  }
  return "";
}

std::string settings_text(const CheckReport& report) {
  std::string text = M("Settings (%s)\n", paths::kSettings);
  for (const Setting& setting : report.settings) {
    const std::string name = "  [" + setting.section + "] " + setting.key;
    const std::string value = " = " + printable_text(setting.value) +
                              (setting.set             ? ""
                               : setting.value.empty() ? "(default)"
                                                       : " (default)");
    text += M("%-34s%-22s %s\n", name.c_str(), value.c_str(), setting.meaning.c_str());
  }
  return text;
}

std::string server_text(const Server& server) {
  if (!server.reached) {
    return "\nDatabase: not reached\n";
  }
  return "\nDatabase: " + printable_text(server.version) + " on " + printable_text(server.host) +
         ", as " + printable_text(server.user) +
         (server.encryption.empty() ? ", not encrypted"
                                    : ", encrypted (" + printable_text(server.encryption) + ")") +
         "\n";
}

std::string json_finding(const Finding& finding) {
  return M(R"({"severity": "%s", "name": )", severity_name(finding.severity)) +
         json_text(finding.name) + ", \"what\": " + json_text(finding.what) +
         ", \"advice\": " + json_text(finding.advice) + "}";
}

std::string json_setting(const Setting& setting) {
  return "{\"section\": " + json_text(setting.section) + ", \"key\": " + json_text(setting.key) +
         ", \"value\": " + json_text(setting.value) +
         ", \"source\": " + json_text(setting.set ? paths::kSettings : "default") +
         ", \"meaning\": " + json_text(setting.meaning) + "}";
}

template <typename Element>
std::string json_list(const std::vector<Element>& elements,
                      std::string (*as_object)(const Element&)) {
  std::string text = "[";
  for (const Element& element : elements) {
    text += (text.size() == 1 ? "\n    " : ",\n    ") + as_object(element);
  }
  return text + "]";
}

std::string json_server(const Server& server) {
  return M(R"({"reached": %s, "version": )", server.reached ? "true" : "false") +
         json_text(server.version) + ", \"host\": " + json_text(server.host) +
         ", \"user\": " + json_text(server.user) +
         ", \"encryption\": " + json_text(server.encryption) + "}";
}

}  // namespace

std::string as_text(const CheckReport& report) {
  std::string text = "ap-run " + report.version + "\n\n" + settings_text(report) +
                     server_text(report.server) + "\n";
  for (const Severity severity : {Severity::problem, Severity::warning, Severity::note}) {
    for (const Finding& finding : report.findings) {
      if (finding.severity == severity) {
        text += wrapped(severity == Severity::problem ? "PROBLEM" : severity_name(severity), 9,
                        printable_text(finding.what));
        text += wrapped("", 9, "-> " + printable_text(finding.advice));
      }
    }
  }
  return text + (report.findings.empty() ? "Nothing to complain about.\n" : "");
}

std::string as_json(const CheckReport& report) {
  return "{\n  \"version\": " + json_text(report.version) +
         M(",\n  \"status\": %d", exit_status(report.findings)) +
         ",\n  \"settings\": " + json_list(report.settings, json_setting) +
         ",\n  \"database\": " + json_server(report.server) +
         ",\n  \"findings\": " + json_list(report.findings, json_finding) + "\n}\n";
}
