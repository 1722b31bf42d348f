#include "kit/fresh.h"

#include <filesystem>

namespace fs = std::filesystem;

namespace kit {

void start_afresh(Database& server) {
  server.clear();
  fs::remove_all("/database/ap/debug");
  for (const char* directory :
       {"/database/ap/lock", "/database/ap/command", "/database/ap/info", "/database/ap/support",
        "/database/ap/radar", "/database/ap/reports", "/var/log/notice", "/var/log/ap-run",
        "/var/tmp/sync", "/var/ap_update", "/firmware", "/etc/ap-run",
        "/etc/sysconfig/.firewall"}) {
    fs::create_directories(directory);
    for (const auto& entry : fs::directory_iterator(directory)) {
      fs::remove_all(entry.path());
    }
  }
  for (const auto& entry : fs::directory_iterator("/recorded")) {
    if (entry.path().filename() != "syslog") {
      fs::remove_all(entry.path());
    }
  }
  fs::resize_file("/recorded/syslog", 0);
}

}  // namespace kit
