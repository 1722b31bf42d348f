#include "building.h"

#include <chrono>
#include <filesystem>

#include "control/command_file.h"
#include "kit/files.h"

namespace fs = std::filesystem;

namespace {

std::string report_path(int ap) {
  return "/database/ap/reports/" + std::to_string(ap) + ".ini";
}

}  // namespace

void write_settings() {
  kit::write_file("/etc/ap-run/platform.ini",
                  "[controller]\ndefault_profile_sn = 1,2,3\n[settings]\n79 = 1\n91 = 1\n");
}

kit::Words deliver(int ap, const std::string& report) {
  fs::remove(command_slot(ap_mac(ap)));
  kit::write_file(report_path(ap), report);
  return {"/usr/sbin/ap-command", "1", report_path(ap), ap_address(ap), ap_mac(ap)};
}

bool left_alone(int ap) {
  return kit::exists(report_path(ap));
}

std::jthread start_controller() {
  return std::jthread([](const std::stop_token& stopping) {
    constexpr std::chrono::milliseconds kFetchEvery{50};
    std::error_code ignored;
    while (!stopping.stop_requested()) {
      for (const auto& file : fs::directory_iterator("/database/ap/command", ignored)) {
        // Files that are still being written have other names.
        if (file.path().filename().string().starts_with("[CMD]=")) {
          fs::remove(file.path(), ignored);
        }
      }
      std::this_thread::sleep_for(kFetchEvery);
    }
  });
}
