#include "kit/files.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace kit {

bool exists(const std::string& path) {
  struct stat info {};
  return lstat(path.c_str(), &info) == 0;
}

std::optional<std::string> read_file(const std::string& path) {
  const std::ifstream file(path, std::ios::binary);
  if (!file) {
    return std::nullopt;
  }
  std::ostringstream bytes;
  bytes << file.rdbuf();
  return bytes.str();
}

std::string content(const std::string& path) {
  return read_file(path).value_or("");
}

bool write_file(const std::string& path, std::string_view bytes) {
  std::ofstream file(path, std::ios::binary);
  file << bytes << std::flush;
  return file.good();
}

void set_age(const std::string& path, std::chrono::seconds age) {
  const timespec then{std::time(nullptr) - age.count(), 0};
  const timespec times[2] = {then, then};
  utimensat(AT_FDCWD, path.c_str(), times, AT_SYMLINK_NOFOLLOW);
}

Lines names_in(const std::string& directory) {
  Lines names;
  for (const auto& entry : std::filesystem::directory_iterator(directory)) {
    names.push_back(entry.path().filename());
  }
  std::sort(names.begin(), names.end());
  return names;
}

}  // namespace kit
