#include "control/traced_command.h"

#include "platform/shell.h"

int traced_command(const TraceSite& site, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const std::optional<std::string> line = my_format(format, values);
  va_end(values);
  if (!line) {
    return -1;
  }
  ap_debug_log(site, "%s", line->c_str());
  return my_system("%s", line->c_str());
}
