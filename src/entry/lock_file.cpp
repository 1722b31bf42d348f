#include "entry/lock_file.h"

#include <ctime>

#include "platform/files.h"
#include "platform/shell.h"

namespace {

constexpr const char* kDirectory = "/database/ap/lock";

/// A lock of this age, in seconds, is still held; one second later it is stale. Ten minutes are far
/// beyond any report: what is older was left behind by a process that died.
constexpr std::int64_t kOldestHeld = 599;

}  // namespace

Lock ap_lock_take(const std::string& mac) {
  const std::int64_t now = std::time(nullptr);
  const std::int64_t created = my_file_create_time(M("%s/%s", kDirectory, mac.c_str()));
  if (created >= now - kOldestHeld) {
    return Lock::held_by_another;
  }
  my_system("> %s/%s", kDirectory, mac.c_str());
  return Lock::taken;
}

void ap_lock_remove(const std::string& mac) {
  my_rm("%s/%s", kDirectory, mac.c_str());
}
