#include "server.h"

#include "kit/files.h"

Server::Server() {
  clock_getcpuclockid(std::stoi(kit::content("/run/mysqld/mysqld.pid")), &processor_clock_);
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
