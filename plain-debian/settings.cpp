#include "platform/settings.h"

#include <sys/stat.h>

#include <algorithm>
#include <climits>
#include <tuple>

#include "ini/ini_file.h"
#include "store.h"
#include "values/decimal.h"
#include "values/paths.h"

namespace {

constexpr std::size_t kMostBytes = 1'048'576;

/// What tells one state of the file from another: inode, size and time of the last change. None for
/// no file.
using FileState = std::optional<std::tuple<ino_t, off_t, time_t, long>>;

FileState file_state() {
  struct stat info {};
  if (stat(paths::kSettings, &info) != 0 || !S_ISREG(info.st_mode)) {
    return std::nullopt;
  }
  return std::tuple(info.st_ino, info.st_size, info.st_mtim.tv_sec, info.st_mtim.tv_nsec);
}

const std::optional<IniFile>& store() {
  static std::optional<IniFile> values;
  static FileState parsed;
  const FileState now = file_state();
  if (now != parsed) {
    const std::optional<std::string> text =
        read_regular_file(paths::kSettings, kMostBytes, Links::follow);
    std::string complaint;
    values = text && text->size() <= kMostBytes ? IniFile::parse(*text, paths::kSettings, complaint)
                                                : std::nullopt;
    parsed = now;
  }
  return values;
}

int clamped(const std::optional<std::string>& text) {
  return static_cast<int>(std::clamp<std::int64_t>(decimal(text.value_or("")), INT_MIN, INT_MAX));
}

}  // namespace

std::optional<std::string> store_text(const std::string& section, const std::string& key) {
  const char* text = store() ? store()->find(section, key) : nullptr;
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

int RI(int number) {
  return clamped(store_text("settings", std::to_string(number)));
}

std::string RS(int number) {
  return store_text("settings", std::to_string(number)).value_or("");
}

int RETURN_DEF_INT(const char* name) {
  return clamped(store_text("named", name));
}
