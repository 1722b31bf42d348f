#include "store.h"

#include <sys/stat.h>

#include "ini/ini_file.h"
#include "values/paths.h"

namespace {

constexpr std::size_t kMostBytes = 1'048'576;

/// What tells one state of the file from another.
struct FileState {
  bool exists = false;
  ino_t inode = 0;
  off_t size = 0;
  time_t seconds = 0;
  long nanoseconds = 0;

  bool operator==(const FileState&) const = default;
};

FileState file_state() {
  struct stat info {};
  if (stat(paths::kSettings, &info) != 0 || !S_ISREG(info.st_mode)) {
    return {};
  }
  return {true, info.st_ino, info.st_size, info.st_mtim.tv_sec, info.st_mtim.tv_nsec};
}

const std::optional<IniFile>& store() {
  static std::optional<IniFile> values;
  static FileState parsed;
  const FileState now = file_state();
  if (!(now == parsed)) {
    const std::optional<std::string> text =
        read_regular_file(paths::kSettings, kMostBytes, Links::follow);
    std::string complaint;
    values = text && text->size() <= kMostBytes ? IniFile::parse(*text, paths::kSettings, complaint)
                                                : std::nullopt;
    parsed = now;
  }
  return values;
}

}  // namespace

std::optional<std::string> store_text(const std::string& section, const std::string& key) {
  const char* text = store() ? store()->find(section, key) : nullptr;
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}
