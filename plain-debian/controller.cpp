#include "platform/controller.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/database.h"
#include "platform/system_log.h"
#include "platform/text.h"
#include "store.h"
#include "values/paths.h"

namespace {

/// This platform has no controller: a call is one line of a log file, in one write, so that lines of
/// several processes stay whole. A line that cannot be written is reported as a loss.
void record_call(const std::string& line) {
  my_mysql_settle();  // a real controller would look at what has just been written
  const std::string whole = line + "\n";
  const int log = open(paths::kControllerLog, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC, 0640);
  if (log < 0 || write(log, whole.data(), whole.size()) != static_cast<ssize_t>(whole.size())) {
    my_report_loss(Loss::controller, Remedy::none,
                   M("the controller was not told \"%s\": %s: %s", line.c_str(),
                     paths::kControllerLog, std::strerror(errno)));
  }
  if (log >= 0) {
    close(log);
  }
}

}  // namespace

std::string getDefaultProfileSN() {
  return store_text("controller", "default_profile_sn").value_or("1");
}

std::string getDefaultApWired() {
  return store_text("controller", "default_ap_wired").value_or("1");
}

void ap_sync_host(int sn) {
  record_call(M("ap_sync_host %d", sn));
}

void setRemote(int flag, int reserved, int sn, int reserved2) {
  record_call(M("setRemote %d %d %d %d", flag, reserved, sn, reserved2));
}

void setRemoteDown(int reserved, int sn, int reserved2) {
  record_call(M("setRemoteDown %d %d %d", reserved, sn, reserved2));
}

void AH_deleteRelative(const std::string& mac) {
  record_call(M("AH_deleteRelative %s", mac.c_str()));
}
