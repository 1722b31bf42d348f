#include "building.h"

#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>

#include "control/command_file.h"

namespace {

constexpr std::chrono::milliseconds kFetchEvery{50};
constexpr const char* kCommands = "/database/ap/command";

/// Removes the commands; files that are still being written have other names.
void fetch_all() {
  std::error_code ignored;
  for (const auto& file : std::filesystem::directory_iterator(kCommands, ignored)) {
    if (file.path().filename().string().starts_with("[CMD]=")) {
      std::filesystem::remove(file.path(), ignored);
    }
  }
}

std::string report_path(int ap) {
  return "/database/ap/reports/" + std::to_string(ap) + ".ini";
}

}  // namespace

void write_settings() {
  std::ofstream("/etc/ap-run/platform.ini")
      << "[controller]\ndefault_profile_sn = 1,2,3\n[settings]\n79 = 1\n91 = 1\n";
}

std::vector<std::string> deliver(int ap, const std::string& report) {
  fetch_command(ap);
  std::ofstream(report_path(ap), std::ios::binary) << report;
  return {"/usr/sbin/ap-command", "1", report_path(ap), ap_address(ap), ap_mac(ap)};
}

bool left_alone(int ap) {
  return access(report_path(ap).c_str(), F_OK) == 0;
}

void fetch_command(int ap) {
  unlink(command_slot(ap_mac(ap)).c_str());
}

Controller::Controller()
    : thread_([this] {
        while (!stopping_) {
          fetch_all();
          std::this_thread::sleep_for(kFetchEvery);
        }
      }) {}

Controller::~Controller() {
  stopping_ = true;
  thread_.join();
}
