#include "reports/kernel_announcement.h"

#include <fcntl.h>
#include <unistd.h>

#include "platform/text.h"
#include "trace/trace_log.h"
#include "values/mac_address.h"

namespace {

constexpr const char* kPath = "/proc/net/xt_APClient";

}  // namespace

void announce_to_kernel(const std::string& station, const std::string& key) {
  if (!is_mac(station)) {
    ap_debug_log({"announce_to_kernel", key}, "\"%s\" is no MAC: not announced", station.c_str());
    return;
  }
  // Opened for each station, so that each write is the first of its file, as a shell's would be.
  const int file = open(kPath, O_WRONLY | O_APPEND | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (file < 0) {
    return;
  }
  const std::string line = my_tolower(station) + "\n";
  [[maybe_unused]] const ssize_t written = write(file, line.data(), line.size());
  close(file);
}
