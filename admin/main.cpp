#include <algorithm>
#include <cstdio>

#include "file_check.h"
#include "kit/command_line.h"
#include "report.h"

namespace {

constexpr const char* kAbout =
    "Looks at what ap-run needs (settings, database, directories, helper programs) and at what its\n"
    "files say about the controller, and says what to do about it. Changes nothing. Run it as root.";

constexpr const char* kExamples =
    "Examples:\n"
    "  ap-check                                          what holds, and what is amiss\n"
    "  ap-check | head -1                                what it comes to\n"
    "  ap-check --json | jq -r '.findings[].name'        names of the findings, for monitoring\n"
    "\n"
    "The exit status is 0 when all is well, 1 when there are warnings, 2 when there are problems that\n"
    "keep the program from working, or when the command line is wrong.";

CheckReport check() {
  CheckReport report;
  report.version = AP_RUN_VERSION;
  report.settings = effective_settings();
  report.findings = check_settings(report.settings);
  DatabaseResult database = check_database();
  report.server = std::move(database.server);
  ClusterResult cluster = check_cluster();
  report.nodes = std::move(cluster.nodes);
  for (Findings more : {std::move(database.findings), std::move(cluster.findings),
                        check_directories(), check_space(), check_programs(), check_firewall(),
                        check_waiting_files(), check_switches()}) {
    add(report.findings, std::move(more));
  }
  if (std::any_of(report.nodes.begin(), report.nodes.end(),
                  [](const Node& node) { return node.makes_logs; })) {
    // Not on the node that the hooks come to first, but on another.
    std::erase_if(report.findings,
                  [](const Finding& finding) { return finding.name == "event-missing"; });
  }
  return report;
}

}  // namespace

// Only a lack of memory throws here. NOLINTNEXTLINE(bugprone-exception-escape)
int main(int argc, char** argv) {
  CLI::App app(kAbout, "ap-check");
  app.footer(kExamples);
  app.set_version_flag("--version", "ap-check " AP_RUN_VERSION, "print the version");
  bool json = false;
  app.add_flag("--json", json, "print one JSON object");
  if (const std::optional<int> status = kit::read_command_line(app, argc, argv)) {
    return *status;
  }
  const CheckReport report = check();
  std::fputs((json ? as_json(report) : as_text(report)).c_str(), stdout);
  return exit_status(report.findings);
}
