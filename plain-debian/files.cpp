#include "platform/files.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>

int my_rm(const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const std::optional<std::string> path = my_format(format, values);
  va_end(values);
  return path && (unlink(path->c_str()) == 0 || errno == ENOENT) ? 0 : -1;
}

int my_symlink(const std::string& target, const std::string& link_path) {
  return symlink(target.c_str(), link_path.c_str()) == 0 ? 0 : -1;
}

bool isRegularFile(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISREG(info.st_mode);
}

bool isDirectory(const std::string& path) {
  struct stat info {};
  return stat(path.c_str(), &info) == 0 && S_ISDIR(info.st_mode);
}

std::int64_t my_file_create_time(const std::string& path) {
  // The time of the last change, not of the file's birth: a stale lock that is taken again is
  // truncated, not made anew, and has to count from then on.
  struct stat info {};
  return stat(path.c_str(), &info) == 0 ? static_cast<std::int64_t>(info.st_mtim.tv_sec) : -1;
}
