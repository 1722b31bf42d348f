#include "platform/settings.h"

#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <tuple>

#include "ini/ini_file.h"
#include "platform/system_log.h"
#include "platform/text.h"
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

struct Store {
  std::optional<IniFile> values;
  std::string refusal;  // why there are none; empty for no file
};

Store read_store() {
  errno = 0;
  const std::optional<std::string> text =
      read_regular_file(paths::kSettings, kMostBytes, Links::follow);
  if (!text) {
    const char* const reason = errno == 0 ? "no regular file" : std::strerror(errno);
    return {std::nullopt,
            errno == ENOENT ? "" : M("%s cannot be read (%s)", paths::kSettings, reason)};
  }
  if (text->size() > kMostBytes) {
    return {std::nullopt, M("%s is larger than %zu bytes", paths::kSettings, kMostBytes)};
  }
  std::string complaint;
  std::optional<IniFile> values = IniFile::parse(*text, paths::kSettings, complaint);
  return values ? Store{std::move(values), ""}
                : Store{std::nullopt, complaint.substr(0, complaint.find('\n'))};
}

const Store& store() {
  static std::optional<Store> known;
  static FileState read;
  if (const FileState now = file_state(); !known || now != read) {
    known = read_store();
    read = now;
    if (!known->refusal.empty()) {
      my_report_loss(Loss::settings, Remedy::none,
                     known->refusal + ": every setting has its default");
    }
  }
  return *known;
}

int clamped(const std::optional<std::string>& text) {
  return static_cast<int>(std::clamp<std::int64_t>(decimal(text.value_or("")), INT_MIN, INT_MAX));
}

}  // namespace

std::optional<std::string> store_text(const std::string& section, const std::string& key) {
  const std::optional<IniFile>& values = store().values;
  const char* text = values ? values->find(section, key) : nullptr;
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}

std::string my_settings_refusal() {
  return store().refusal;
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
