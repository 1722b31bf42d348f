#include "control/update_tool.h"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <filesystem>
#include <string_view>
#include <system_error>

#include "control/shell_command.h"
#include "platform/text.h"

namespace {

constexpr const char* kProcesses = "/proc";
constexpr std::string_view kTool = "wum";
constexpr std::size_t kLongestStat = 255;
constexpr std::size_t kLongestLine = 254;

/// The first bytes of a file of a process; empty when the process has gone.
std::string first_bytes(const std::string& path, std::size_t limit) {
  const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC);
  if (file < 0) {
    return "";
  }
  std::string bytes(limit, '\0');
  std::size_t size = 0;
  while (size < limit) {
    const ssize_t got = read(file, bytes.data() + size, limit - size);
    if (got > 0) {
      size += static_cast<std::size_t>(got);
    } else if (got == 0 || errno != EINTR) {
      break;
    }
  }
  close(file);
  bytes.resize(size);
  return bytes;
}

/// The name of a process from the text of its "stat" file: between the first "(" and the last ")",
/// for a name may hold both.
std::optional<std::string_view> process_name(std::string_view stat) {
  const std::size_t start = stat.find('(');
  const std::size_t end = stat.rfind(')');
  if (start == std::string_view::npos || end == std::string_view::npos || end < start) {
    return std::nullopt;
  }
  return stat.substr(start + 1, end - start - 1);
}

/// The command line as one text: `words` have a NUL after each.
std::string command_line(std::string words) {
  std::replace(words.begin(), words.end(), '\0', ' ');
  const std::size_t line_feed = words.find('\n');
  return line_feed == std::string::npos ? words : words.substr(0, line_feed + 1);
}

/// The command line of process `id`; none when it is no update tool or has ended.
std::optional<std::string> tool_command_line(const std::string& id) {
  const std::string stat = first_bytes(M("%s/%s/stat", kProcesses, id.c_str()), kLongestStat);
  if (process_name(stat) != kTool) {
    return std::nullopt;
  }
  const std::string words = first_bytes(M("%s/%s/cmdline", kProcesses, id.c_str()), kLongestLine);
  return words.empty() ? std::nullopt : std::optional<std::string>(command_line(words));
}

bool holds(const std::string& line, const std::string& pattern) {
  return line.find(pattern) != std::string::npos;
}

}  // namespace

void kill_update_tool(const std::string& pattern, const std::optional<std::string>& extra_pattern) {
  std::error_code failed;
  std::filesystem::directory_iterator entry(kProcesses, failed);
  for (; !failed && entry != end(entry); entry.increment(failed)) {
    const std::string id = entry->path().filename();
    if (id.front() < '0' || id.front() > '9') {
      continue;
    }
    const std::optional<std::string> line = tool_command_line(id);
    if (line && holds(*line, pattern) && holds(*line, extra_pattern.value_or(""))) {
      run_command({"kill_update_tool", pattern}, "/bin/kill %s", id);
      syslog(LOG_CRIT, "[%s](%s) /bin/kill %s", line->c_str(), extra_pattern.value_or("").c_str(),
             id.c_str());
    }
  }
}
