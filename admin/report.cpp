#include "report.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <sstream>

#include "platform/text.h"
#include "values/paths.h"
#include "values/visible_text.h"

namespace {

/// Text is broken before this column.
constexpr std::size_t kWidth = 96;

/// `text` in lines that begin with `indent` blanks, behind `head` in the first.
std::string wrapped(std::string head, std::size_t indent, const std::string& text) {
  std::string result = std::move(head);
  result.resize(std::max(result.size(), indent), ' ');
  std::size_t column = result.size();
  std::istringstream words(text);
  for (std::string word; words >> word;) {
    const bool first = column <= indent;
    if (!first && column + 1 + word.size() > kWidth) {
      result += "\n" + std::string(indent, ' ');
      column = indent;
    } else if (!first) {
      word.insert(0, 1, ' ');
    }
    result += word;
    column += word.size();
  }
  return result + "\n";
}

const char* severity_name(Severity severity) {
  constexpr const char* kNames[] = {"note", "warning", "problem"};
  return kNames[static_cast<std::size_t>(severity)];
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

/// The nodes, where there are several or the only one is in a cluster.
std::string nodes_text(const std::vector<Node>& nodes) {
  std::string text;
  for (const Node& node : nodes) {
    if (nodes.size() == 1 && !node.in_cluster) {
      continue;
    }
    text += "  " + (node.host.empty() ? "this node" : printable_text(node.host)) + ": " +
            (!node.refusal.empty() ? "not reached"
             : !node.in_cluster
                 ? "in no cluster"
                 : M("%s, in a group of %d, wsrep_mode = %s", node.ready ? "ready" : "not ready",
                     node.group, printable_text(node.mode).c_str())) +
            "\n";
  }
  return text;
}

}  // namespace

std::string as_text(const CheckReport& report) {
  std::string counts;
  std::string findings;
  for (const Severity severity : {Severity::problem, Severity::warning, Severity::note}) {
    std::uint64_t number = 0;
    for (const Finding& finding : report.findings) {
      if (finding.severity == severity) {
        ++number;
        findings += wrapped(severity == Severity::problem ? "PROBLEM" : severity_name(severity), 9,
                            printable_text(finding.what));
        findings += wrapped("", 9, "-> " + printable_text(finding.advice));
      }
    }
    if (number > 0) {
      counts += (counts.empty() ? "" : ", ") + counted(number, severity_name(severity));
    }
  }
  const bool is_well = exit_status(report.findings) == 0;
  return "ap-run " + report.version + ": " + (is_well ? "all is well" : "") +
         (is_well && !counts.empty() ? ", " : "") + counts + "\n\n" + settings_text(report) +
         server_text(report.server) + nodes_text(report.nodes) + (findings.empty() ? "" : "\n") +
         findings;
}

std::string as_json(const CheckReport& report) {
  using Json = nlohmann::ordered_json;
  const Server& server = report.server;
  Json settings = Json::array();
  for (const Setting& setting : report.settings) {
    settings.push_back({{"section", setting.section},
                        {"key", setting.key},
                        {"value", setting.value},
                        {"source", setting.set ? paths::kSettings : "default"},
                        {"meaning", setting.meaning}});
  }
  Json nodes = Json::array();
  for (const Node& node : report.nodes) {
    nodes.push_back({{"host", node.host},
                     {"reached", node.refusal.empty()},
                     {"ready", node.ready},
                     {"cluster", node.in_cluster},
                     {"group", node.group},
                     {"mode", node.mode},
                     {"makes_logs", node.makes_logs}});
  }
  Json findings = Json::array();
  for (const Finding& finding : report.findings) {
    findings.push_back({{"severity", severity_name(finding.severity)},
                        {"name", finding.name},
                        {"what", finding.what},
                        {"advice", finding.advice}});
  }
  const Json all{{"version", report.version},
                 {"status", exit_status(report.findings)},
                 {"settings", settings},
                 {"database",
                  {{"reached", server.reached},
                   {"version", server.version},
                   {"host", server.host},
                   {"user", server.user},
                   {"encryption", server.encryption},
                   {"nodes", nodes}}},
                 {"findings", findings}};
  return all.dump(2, ' ', false, Json::error_handler_t::replace) + "\n";
}
