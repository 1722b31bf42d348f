#include "server.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>

namespace {

constexpr const char* kLog = "/var/lib/mysql/bench.log";

std::string content(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  return {std::istreambuf_iterator<char>(file), {}};
}

}  // namespace

Server::Server() : mysql_(mysql_init(nullptr), mysql_close) {
  mysql_options(mysql_.get(), MYSQL_SET_CHARSET_NAME, "latin1");
  if (mysql_real_connect(mysql_.get(), nullptr, nullptr, nullptr, nullptr, 0, nullptr, 0) ==
      nullptr) {
    std::fprintf(stderr, "bench-driver: %s\n", mysql_error(mysql_.get()));
    std::exit(1);
  }
  sql("SET SESSION sql_mode=''");
  std::ifstream("/run/mysqld/mysqld.pid") >> process_;
}

std::vector<std::vector<std::string>> Server::sql(std::string_view statement) {
  if (mysql_real_query(mysql_.get(), statement.data(),
                       static_cast<unsigned long>(statement.size())) != 0) {
    std::fprintf(stderr, "bench-driver: %s in %.*s\n", mysql_error(mysql_.get()),
                 static_cast<int>(statement.size()), statement.data());
    std::exit(1);
  }
  std::vector<std::vector<std::string>> rows;
  MYSQL_RES* result = mysql_store_result(mysql_.get());
  if (result == nullptr) {
    return rows;
  }
  while (MYSQL_ROW row = mysql_fetch_row(result)) {
    std::vector<std::string>& columns = rows.emplace_back();
    for (unsigned int i = 0; i < mysql_num_fields(result); ++i) {
      columns.emplace_back(row[i] == nullptr ? "" : row[i]);
    }
  }
  mysql_free_result(result);
  return rows;
}

void Server::reset() {
  for (const char* table : {"AP_INFO.ap_list", "AP_CLIENT.legal", "AP_CLIENT.illegal",
                            "AP_CLIENT.block", "AP_CLIENT.client"}) {
    sql(std::string("TRUNCATE ") + table);
  }
  for (const auto& row :
       sql("SELECT TABLE_SCHEMA, TABLE_NAME FROM information_schema.TABLES WHERE TABLE_SCHEMA IN "
           "('AP_CLIENT','AP_POOR_CLIENT') AND TABLE_NAME LIKE 'AP\\_%'")) {
    sql("DROP TABLE " + row[0] + "." + row[1]);
  }
}

void Server::start_log() {
  unlink(kLog);
  sql(std::string("SET GLOBAL general_log_file='") + kLog + "'");
  sql("SET GLOBAL general_log=ON");
}

std::vector<LoggedConnection> Server::stop_log() {
  sql("SET GLOBAL general_log=OFF");
  return parse_general_log(content(kLog));
}

double Server::processor_ms() const {
  const std::string stat = content("/proc/" + process_ + "/stat");
  // The second field is the program's name in parentheses; 14 and 15 are the times.
  std::istringstream fields(stat.substr(std::min(stat.rfind(')') + 1, stat.size())));
  std::vector<std::string> words{std::istream_iterator<std::string>(fields), {}};
  constexpr std::size_t kUser = 11;
  constexpr std::size_t kSystem = 12;
  if (words.size() <= kSystem) {
    return 0;
  }
  const double ticks = std::stod(words[kUser]) + std::stod(words[kSystem]);
  return ticks * 1e3 / static_cast<double>(sysconf(_SC_CLK_TCK));
}
