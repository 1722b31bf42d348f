#include "building.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <thread>

#include "control/command_file.h"
#include "kit/files.h"

namespace {

constexpr std::chrono::milliseconds kFetchEvery{50};

std::string report_path(int ap) {
  return kit::format("/database/ap/reports/%d.ini", ap);
}

}  // namespace

void move_out(Server& server) {
  server.clear();
  server.rows(
      "INSERT INTO AP_INFO.ap_profile (SN, SSID) VALUES (1, 'Office'), (2, 'Guest'), "
      "(3, 'Devices')");
  kit::write_file("/etc/ap-run/platform.ini",
                  "[controller]\ndefault_profile_sn = 1,2,3\n[settings]\n79 = 1\n91 = 1\n");
}

kit::Words deliver(int ap, const std::string& report) {
  fetch_command(ap);
  kit::write_file(report_path(ap), report);
  return {"/usr/sbin/ap-command", "1", report_path(ap), ap_address(ap), ap_mac(ap)};
}

bool left_alone(int ap) {
  return kit::exists(report_path(ap));
}

std::string command_of(int ap) {
  return kit::content(command_slot(ap_mac(ap), CommandSlot::ordinary));
}

void fetch_command(int ap) {
  unlink(command_slot(ap_mac(ap), CommandSlot::ordinary).c_str());
}

void fetch_all_commands(const std::stop_token& stop) {
  for (; !stop.stop_requested(); std::this_thread::sleep_for(kFetchEvery)) {
    std::error_code ignored;
    for (const auto& file : std::filesystem::directory_iterator("/database/ap/command", ignored)) {
      // Files that are still being written have other names.
      if (file.path().filename().string().starts_with("[CMD]=")) {
        std::filesystem::remove(file.path(), ignored);
      }
    }
  }
}
