#include "trace/trace_log.h"

#include <fcntl.h>
#include <syslog.h>
#include <unistd.h>

#include <cstring>
#include <ctime>

#include "platform/files.h"
#include "values/paths.h"
#include "values/visible_text.h"

namespace {

bool is_kept_off = false;

void append_to_switch_file(const TraceSite& site, const std::string& message) {
  if (site.key == nullptr || std::strchr(site.key, '/') != nullptr) {
    return;
  }
  // Without O_CREAT: only the administrator makes the file. A pipe that nobody reads must not block us.
  const std::string path = M("%s/%s", paths::kTraces, site.key);
  const int file = open(path.c_str(), O_RDWR | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (file < 0) {
    return;
  }
  const std::time_t now = std::time(nullptr);
  std::tm local{};
  localtime_r(&now, &local);
  const std::string text =
      M("%04d/%02d/%02d %02d:%02d:%02d %d[%s:%d] %s\n", local.tm_year + 1900, local.tm_mon + 1,
        local.tm_mday, local.tm_hour, local.tm_min, local.tm_sec, static_cast<int>(getpid()),
        site.operation, site.line, message.c_str());
  [[maybe_unused]] const ssize_t written = write(file, text.data(), text.size());
  close(file);
}

}  // namespace

void keep_trace_off() {
  is_kept_off = true;
}

bool is_tracing() {
  return !is_kept_off && isDirectory(paths::kTraces);
}

void ap_debug_log(const TraceSite& site, const char* format, ...) {
  if (!is_tracing()) {
    return;
  }
  std::va_list values;
  va_start(values, format);
  const std::optional<std::string> text = my_format(format, values);
  va_end(values);
  if (text) {
    const std::string message = visible_lines(*text);
    append_to_switch_file(site, message);
    syslog(LOG_DEBUG, "[%s:%d] %s", site.operation, site.line, message.c_str());
  }
}

void report_loss(const TraceSite& site, Loss loss, Remedy remedy, const std::string& what) {
  ap_debug_log(site, "%s", what.c_str());
  my_report_loss(loss, remedy, M("AP %s: %s", site.key, what.c_str()));
}
