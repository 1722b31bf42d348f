#include "platform/files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

#include "platform/system_log.h"

int my_rm(const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const std::optional<std::string> path = my_format(format, values);
  va_end(values);
  if (!path) {
    return -1;
  }
  if (unlink(path->c_str()) == 0 || errno == ENOENT) {
    return 0;
  }
  my_report_loss(Loss::file, Remedy::none,
                 M("%s cannot be removed: %s", path->c_str(), std::strerror(errno)));
  return -1;
}

int my_symlink(const std::string& target, const std::string& link_path) {
  return symlink(target.c_str(), link_path.c_str()) == 0 ? 0 : -1;
}

bool isRegularFile(const std::string& path) {
  struct stat info {};
  if (stat(path.c_str(), &info) == 0) {
    return S_ISREG(info.st_mode);
  }
  // The caller takes it for missing.
  if (errno != ENOENT && errno != ENOTDIR && errno != ENAMETOOLONG && errno != ELOOP) {
    my_report_loss(Loss::file, Remedy::none,
                   M("%s cannot be looked at: %s", path.c_str(), std::strerror(errno)));
  }
  return false;
}

bool isDirectory(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::int64_t my_file_create_time(const std::string& path) {
  // Not the time of its creation: taking a stale lock only truncates the file, and makes it young.
  struct stat info {};
  return stat(path.c_str(), &info) == 0 ? static_cast<std::int64_t>(info.st_mtim.tv_sec) : -1;
}
