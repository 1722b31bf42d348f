#include "entry/lock_file.h"

#include <ctime>

#include "platform/files.h"
#include "platform/shell.h"
#include "trace/trace_log.h"
#include "values/paths.h"

bool is_lock_held(std::int64_t created, std::int64_t now) {
  return created <= now && now - created < kStaleLockAge;
}

bool ap_lock_take(const std::string& mac) {
  const std::int64_t created = my_file_create_time(M("%s/%s", paths::kLocks, mac.c_str()));
  if (is_lock_held(created, std::time(nullptr))) {
    return false;
  }
  if (my_system("> %s/%s", paths::kLocks, mac.c_str()) != 0) {
    report_loss({"ap_lock_take", mac}, Loss::file, Remedy::next_report,
                M("reports are not kept apart: the lock cannot be made in %s", paths::kLocks));
  }
  return true;
}

void ap_lock_remove(const std::string& mac) {
  my_rm("%s/%s", paths::kLocks, mac.c_str());
}
