#include "control/update_tool.h"

#include <syslog.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "control/shell_command.h"
#include "platform/text.h"

namespace {

constexpr std::streamsize kLongestLine = 254;

/// The first bytes of a file of a process; empty when the process has gone.
std::string first_bytes(const std::string& path) {
  std::string bytes(kLongestLine, '\0');
  std::ifstream file(path);
  file.read(bytes.data(), kLongestLine);
  bytes.resize(static_cast<std::size_t>(file.gcount()));
  return bytes;
}

/// The command line of process `id`, a blank after each word, up to a line feed; empty when it is no
/// update tool or has ended.
std::string tool_command_line(const std::string& id) {
  if (first_bytes(M("/proc/%s/comm", id.c_str())) != "wum\n") {
    return "";
  }
  std::string line = first_bytes(M("/proc/%s/cmdline", id.c_str()));
  std::replace(line.begin(), line.end(), '\0', ' ');
  return line.substr(0, std::min(line.find('\n'), line.size()) + 1);
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
