#include <cstdio>
#include <cstdlib>
#include <string_view>

#include "file_check.h"
#include "report.h"

namespace {

constexpr int kWrongUsage = 64;

constexpr const char* kUsage =
    "usage: ap-check [--json]\n"
    "\n"
    "Looks at what ap-run needs (settings, database, directories, helper programs) and at what its\n"
    "files say about the controller, and says what to do about it. Changes nothing. Run it as root.\n"
    "\n"
    "  --json     print one JSON object\n"
    "  --version  print the version\n"
    "  --help     print this text\n"
    "\n"
    "The exit status is 0 when all is well, 1 when there are warnings, 2 when there are problems that\n"
    "keep the program from working, 64 when the command line is wrong.\n";

CheckReport check() {
  CheckReport report;
  report.version = AP_RUN_VERSION;
  report.settings = effective_settings();
  report.findings = check_settings(report.settings);
  DatabaseResult database = check_database();
  report.server = std::move(database.server);
  add(report.findings, std::move(database.findings));
  add(report.findings, check_directories());
  add(report.findings, check_programs());
  add(report.findings, check_locks());
  add(report.findings, check_commands());
  add(report.findings, check_switches());
  return report;
}

int print(const CheckReport& report, std::string (*as)(const CheckReport&)) {
  std::fputs(as(report).c_str(), stdout);
  return exit_status(report.findings);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string_view option = argc > 1 ? argv[1] : "";
  if (argc > 2 || (argc == 2 && option.empty())) {
    std::fputs(kUsage, stderr);
    return kWrongUsage;
  }
  if (option.empty()) {
    return print(check(), as_text);
  }
  if (option == "--json") {
    return print(check(), as_json);
  }
  if (option == "--version") {
    std::printf("ap-check %s\n", AP_RUN_VERSION);
    return EXIT_SUCCESS;
  }
  if (option == "--help") {
    std::fputs(kUsage, stdout);
    return EXIT_SUCCESS;
  }
  std::fputs(kUsage, stderr);
  return kWrongUsage;
}
