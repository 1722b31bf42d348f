#include "support/appliance.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <regex>
#include <sstream>
#include <thread>

#include "platform/database.h"

namespace fs = std::filesystem;

namespace {

/// Directories that a test finds empty.
const Words kDirectories{
    "/database/ap/lock",       "/database/ap/command", "/database/ap/info", "/database/ap/support",
    "/database/ap/radar",      "/database/ap/reports", "/var/log/notice",   "/var/log/ap-run",
    "/var/tmp/sync",           "/var/ap_update",       "/firmware",         "/etc/ap-run",
    "/etc/sysconfig/.firewall"};

std::string full_name(const testing::TestInfo& test) {
  return std::string(test.test_suite_name()) + "." + test.name();
}

}  // namespace

pid_t start_hook(const Words& words) {
  std::vector<char*> arguments;
  for (const std::string& word : words) {
    arguments.push_back(const_cast<char*>(word.c_str()));
  }
  arguments.push_back(nullptr);
  const pid_t child = fork();
  if (child == 0) {
    execv("/usr/sbin/ap-run", arguments.data());
    _exit(127);
  }
  return child;
}

int finish(pid_t process) {
  int status = 0;
  waitpid(process, &status, 0);
  return WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
}

int run_hook(const Words& words) {
  // Alone, a hook finds every answer as it was when it was fetched (src/db/hint_check.h).
  setenv("AP_RUN_HINTS", "verify", 1);
  const pid_t hook = start_hook(words);
  unsetenv("AP_RUN_HINTS");
  return finish(hook);
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
      return std::find(kHelpers.begin(), kHelpers.end(), name) != kHelpers.end();
    });
  });
}

bool exists(const std::string& path) {
  struct stat info {};
  return lstat(path.c_str(), &info) == 0;
}

std::string content(const std::string& path) {
  const std::ifstream file(path, std::ios::binary);
  std::ostringstream text;
  text << file.rdbuf();
  return text.str();
}

void write_file(const std::string& path, const std::string& text) {
  std::ofstream(path, std::ios::binary) << text;
}

void set_age(const std::string& path, std::chrono::seconds age) {
  const timespec then{time(nullptr) - age.count(), 0};
  const timespec times[2] = {then, then};
  utimensat(AT_FDCWD, path.c_str(), times, 0);
}

Lines lines_of(const std::string& text) {
  Lines lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) {
    lines.push_back(line);
  }
  return lines;
}

Lines names_in(const std::string& directory) {
  Lines names;
  for (const auto& entry : fs::directory_iterator(directory)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
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
  static const std::regex kHead(
      R"([0-9]{4}/[0-9]{2}/[0-9]{2} [0-9]{2}:[0-9]{2}:[0-9]{2} [0-9]+\[([^:\]]+):[0-9]+\] )");
  Lines lines;
  for (const std::string& line : lines_of(content("/database/ap/debug/" + key))) {
    std::smatch head;
    if (std::regex_search(line, head, kHead, std::regex_constants::match_continuous)) {
      lines.push_back(head[1].str() + ": " + head.suffix().str());
    } else if (!lines.empty()) {
      lines.back() += "\n" + line;
    }
  }
  return lines;
}

Lines trace_of(const std::string& key, const std::string& operation) {
  const std::string head = operation + ": ";
  Lines messages;
  for (const std::string& line : trace_of(key)) {
    if (line.starts_with(head)) {
      messages.push_back(line.substr(head.size()));
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

void HookTest::SetUp() {
  my_mysql_release();  // what an earlier test left with the platform
  wait_for_helpers();
  reset_database();
  fs::remove_all("/database/ap/debug");
  for (const std::string& directory : kDirectories) {
    fs::create_directories(directory);
    for (const auto& entry : fs::directory_iterator(directory)) {
      fs::remove_all(entry.path());
    }
  }
  for (const auto& entry : fs::directory_iterator("/recorded")) {
    if (entry.path().filename() != "syslog") {
      fs::remove_all(entry.path());
    }
  }
  fs::resize_file("/recorded/syslog", 0);
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
  std::cout << "Run it alone:  tests/run " << full_name(test) << "\nIts files:     " << kept
            << " below the kept directory\n";
}
