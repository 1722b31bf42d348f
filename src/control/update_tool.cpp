#include "control/update_tool.h"

#include <syslog.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "control/shell_command.h"
#include "platform/text.h"

namespace {

constexpr std::size_t kLongestLine = 254;

/// The command line of process `id`, a blank after each word, up to a line feed; empty when it is no
/// update tool or has ended.
std::string tool_command_line(const std::string& id) {
  std::string name;
  std::ifstream name_file(M("/proc/%s/comm", id.c_str()));
  if (!std::getline(name_file, name, '\0') || name != "wum\n") {
    return "";
  }
  std::string line;
  std::ifstream line_file(M("/proc/%s/cmdline", id.c_str()));
  std::getline(line_file, line);
  line.resize(std::min(line.size(), kLongestLine));
  std::replace(line.begin(), line.end(), '\0', ' ');
  return line;
}

}  // namespace

void kill_update_tool(const std::string& pattern, const std::string& extra_pattern) {
  std::error_code failed;
  std::filesystem::directory_iterator entry("/proc", failed);
  for (; !failed && entry != end(entry); entry.increment(failed)) {
    const std::string id = entry->path().filename();
    if (id.front() < '0' || id.front() > '9') {
      continue;
    }
    const std::string line = tool_command_line(id);
    if (!line.empty() && line.find(pattern) != std::string::npos &&
        line.find(extra_pattern) != std::string::npos) {
      run_command({"kill_update_tool", pattern}, "/bin/kill %s", id);
      syslog(LOG_CRIT, "[%s](%s) /bin/kill %s", line.c_str(), extra_pattern.c_str(), id.c_str());
    }
  }
}
