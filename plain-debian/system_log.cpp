#include "platform/system_log.h"

#include <syslog.h>

#include <charconv>

void my_syslog(const std::string& line) {
  int priority = LOG_INFO;
  std::size_t start = 0;
  if (const std::size_t end = line.find('>'); line.starts_with('<') && end != std::string::npos) {
    int number = 0;
    const char* last = line.data() + end;
    const auto [stop, error] = std::from_chars(line.data() + 1, last, number);
    if (error == std::errc() && stop == last && stop != line.data() + 1) {
      priority = number;
      start = end + 1;
    }
  }
  syslog(priority, "%s", line.c_str() + start);
}
