#include "server.h"

#include <filesystem>
#include <regex>

#include "kit/files.h"

Server::Server()
    : process_("/proc/" + std::to_string(std::stoi(kit::content("/run/mysqld/mysqld.pid")))) {
  clock_getcpuclockid(std::stoi(kit::content("/run/mysqld/mysqld.pid")), &processor_clock_);
}

double Server::memory_mib() const {
  static const std::regex kResident(R"(VmRSS:\s*(\d+))");
  const std::string status = kit::content(process_ + "/status");
  std::smatch match;
  return std::regex_search(status, match, kResident) ? std::stod(match[1]) / 1024 : 0;
}

int Server::open_files() const {
  const std::filesystem::directory_iterator files(process_ + "/fd");
  return static_cast<int>(std::distance(begin(files), end(files)));
}

std::vector<std::string> Server::statements_of(const std::function<void()>& doing) {
  rows("SET GLOBAL log_output='TABLE'");
  rows("TRUNCATE mysql.general_log");
  rows("SET GLOBAL general_log=ON");
  doing();
  rows("SET GLOBAL general_log=OFF");
  std::vector<std::string> statements;
  for (kit::SqlRow& row :
       rows("SELECT argument FROM mysql.general_log WHERE command_type='Query' AND thread_id IN "
            "(SELECT thread_id FROM mysql.general_log WHERE command_type='Connect') "
            "ORDER BY thread_id, event_time")) {
    statements.push_back(std::move(row.front()));
  }
  return statements;
}

double Server::processor_ms() const {
  timespec time{};
  clock_gettime(processor_clock_, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}
