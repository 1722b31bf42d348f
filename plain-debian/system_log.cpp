#include "platform/system_log.h"

#include <syslog.h>

#include <array>
#include <charconv>
#include <utility>

#include "values/visible_text.h"

void my_syslog(const std::string& line) {
  int priority = LOG_INFO;
  std::size_t start = 0;
  if (const std::size_t end = line.find('>'); line.starts_with('<') && end != std::string::npos) {
    int number = 0;
    const char* last = line.data() + end;
    const auto [stop, error] = std::from_chars(line.data() + 1, last, number);
    if (error == std::errc() && stop == last) {
      priority = number;
      start = end + 1;
    }
  }
  syslog(priority, "%s", visible_text(std::string_view(line).substr(start)).c_str());
}

void my_report_loss(Loss loss, Remedy remedy, const std::string& text) {
  static std::array<bool, static_cast<std::size_t>(Loss::count)> reported{};
  if (bool& is_reported = reported.at(static_cast<std::size_t>(loss));
      !std::exchange(is_reported, true)) {
    syslog(remedy == Remedy::next_report ? LOG_WARNING : LOG_ERR, "%s", visible_text(text).c_str());
  }
}
