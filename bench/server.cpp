#include "server.h"

#include <unistd.h>

#include <algorithm>
#include <iterator>
#include <sstream>

#include "kit/files.h"

void Server::start_log() {
  rows("SET GLOBAL log_output='TABLE'");
  rows("TRUNCATE mysql.general_log");
  rows("SET GLOBAL general_log=ON");
}

std::vector<std::string> Server::stop_log() {
  rows("SET GLOBAL general_log=OFF");
  std::vector<std::string> statements;
  for (kit::SqlRow& row : rows("SELECT argument FROM mysql.general_log WHERE command_type='Query' "
                               "AND thread_id<>CONNECTION_ID()")) {
    statements.push_back(std::move(row.front()));
  }
  return statements;
}

double Server::processor_ms() const {
  const std::string stat = kit::content("/proc/" + process_ + "/stat");
  // The second field is the program's name in parentheses; 14 and 15 are the times.
  std::istringstream fields(stat.substr(std::min(stat.rfind(')') + 1, stat.size())));
  const std::vector<std::string> words{std::istream_iterator<std::string>(fields), {}};
  constexpr std::size_t kUser = 11;
  constexpr std::size_t kSystem = 12;
  if (words.size() <= kSystem) {
    return 0;
  }
  const double ticks = std::stod(words[kUser]) + std::stod(words[kSystem]);
  return ticks * 1e3 / static_cast<double>(sysconf(_SC_CLK_TCK));
}
