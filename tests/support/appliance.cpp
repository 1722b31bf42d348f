#include "support/appliance.h"

#include <algorithm>
#include <filesystem>
#include <iostream>
#include <nlohmann/json.hpp>
#include <optional>
#include <regex>
#include <thread>

#include "kit/fresh.h"
#include "kit/trace_lines.h"
#include "platform/database.h"

namespace fs = std::filesystem;

namespace {

constexpr const char* kHook = "/usr/sbin/ap-run";

std::optional<kit::Database> connection;

kit::Database& server() {
  if (!connection) {
    connection.emplace();
  }
  return *connection;
}

std::string full_name(const testing::TestInfo& test) {
  return std::string(test.test_suite_name()) + "." + test.name();
}

/// Who traces a process. Without namespaces, that tells the processes of this appliance from those
/// of others.
std::string tracer_of(const fs::path& process) {
  const std::string status = content(process / "status");
  const std::size_t at = std::min(status.find("TracerPid:"), status.size());
  return status.substr(at, status.find('\n', at) - at);
}

}  // namespace

bool has_namespaces() {
  return std::getenv("LAB_NAMESPACES") == nullptr;
}

kit::Child start_hook(const Words& words) {
  return kit::Child({kHook, words, {}});
}

int run_hook(const Words& words) {
  // Alone, a hook finds every answer as it was when it was fetched (src/db/hint_check.h).
  return kit::Child({kHook, words, {"AP_RUN_HINTS=verify"}}).finish().status;
}

bool eventually(const std::function<bool()>& done) {
  for (int i = 0; i < 1000; ++i) {
    if (done()) {
      return true;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  return done();
}

void wait_for_helpers() {
  static const Lines kHelpers{"sh\n", "send_logmsg\n", "mobile_pushmsg\n", "wum\n"};
  eventually([] {
    return std::none_of(fs::directory_iterator("/proc"), {}, [](const auto& process) {
      const std::string name = content(process.path() / "comm");
      return std::find(kHelpers.begin(), kHelpers.end(), name) != kHelpers.end() &&
             tracer_of(process) == tracer_of("/proc/self");
    });
  });
}

std::string slot_of(const std::string& mac) {
  return "/database/ap/command/[CMD]=" + mac;
}

std::string without_time(const std::string& text) {
  return std::regex_replace(text, std::regex("time=[0-9]{10}\n"), "time=T\n");
}

Lines calls_of(const std::string& program) {
  return lines_of(content("/recorded/" + program));
}

Lines controller_calls() {
  return lines_of(content("/var/log/ap-run/controller.log"));
}

void trace_on(const std::string& key) {
  fs::create_directories("/database/ap/debug");
  write_file("/database/ap/debug/" + key, "");
}

Lines trace_of(const std::string& key) {
  Lines lines;
  for (const auto& [operation, message] : kit::trace_lines(content("/database/ap/debug/" + key))) {
    lines.push_back(operation + ": " + message);
  }
  return lines;
}

Lines trace_of(const std::string& key, const std::string& operation) {
  Lines messages;
  for (const kit::TraceLine& line : kit::trace_lines(content("/database/ap/debug/" + key))) {
    if (line.operation == operation) {
      messages.push_back(line.message);
    }
  }
  return messages;
}

void configure(const std::string& text) {
  write_file("/etc/ap-run/platform.ini", text);
}

std::string deliver_report(const std::string& text) {
  static int number = 0;
  std::string path = "/database/ap/reports/report-" + std::to_string(++number) + ".ini";
  write_file(path, text);
  return path;
}

void register_ap(int sn, const std::string& mac, const std::string& name, int joined) {
  sql("INSERT INTO AP_INFO.ap_list SET SN=" + std::to_string(sn) + ", MAC=UPPER('" + mac +
      "'), Name='" + name + "', IP='" + kAddress + "', Status=1, pf_id='1', 5G_pf_id='1', STime=" +
      "NOW() - INTERVAL " + std::to_string(joined) + " SECOND");
}

std::vector<kit::SqlRow> sql(const std::string& statement) {
  return server().rows(statement);
}

std::string sql_value(const std::string& statement) {
  return server().value(statement);
}

Lines sql_rows(const std::string& statement) {
  Lines texts;
  for (const kit::SqlRow& row : sql(statement)) {
    std::string text;
    for (const std::string& column : row) {
      text += (&column == &row.front() ? "" : "|") + column;
    }
    texts.push_back(std::move(text));
  }
  return texts;
}

void disconnect_database() {
  connection.reset();
}

void HookTest::SetUp() {
  my_mysql_release();  // what an earlier test left with the platform
  wait_for_helpers();
  kit::start_afresh(server());
}

void HookTest::TearDown() {
  if (!HasFailure()) {
    return;
  }
  const testing::TestInfo& test = *testing::UnitTest::GetInstance()->current_test_info();
  const std::string kept = "/var/failed/" + full_name(test);
  for (const char* directory : {"/database", "/recorded", "/etc/ap-run", "/var/log"}) {
    fs::create_directories(kept + fs::path(directory).parent_path().string());
    std::error_code ignored;
    fs::copy(directory, kept + directory,
             fs::copy_options::recursive | fs::copy_options::copy_symlinks, ignored);
  }
  const char* const extent = std::getenv("AP_RUN_WEATHER");  // of tests/weather
  const bool is_whole = extent != nullptr && std::string_view(extent) == "all";
  std::cout << "Run it alone:  " << (is_whole ? "AP_RUN_WEATHER=all " : "") << "tests/run "
            << full_name(test) << "\nIts files:     " << kept << " below the kept directory\n";
}

Found findings() {
  Found found;
  const auto report = nlohmann::json::parse(kit::output_of({"ap-check", "--json"}).text);
  for (const auto& finding : report["findings"]) {
    found.insert(finding["name"]);
  }
  return found;
}
