#include "store.h"

#include <sys/stat.h>

#include <memory>

extern "C" {
#include <iniparser/iniparser.h>
}

namespace {

constexpr const char* kPath = "/etc/ap-run/platform.ini";

struct FreeDictionary {
  void operator()(dictionary* values) const { iniparser_freedict(values); }
};

using Dictionary = std::unique_ptr<dictionary, FreeDictionary>;

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
  if (stat(kPath, &info) != 0 || !S_ISREG(info.st_mode)) {
    return {};
  }
  return {true, info.st_ino, info.st_size, info.st_mtim.tv_sec, info.st_mtim.tv_nsec};
}

int discard_message(const char* /*format*/, ...) {
  return 0;
}

const dictionary* store() {
  static Dictionary values;
  static FileState parsed;
  const FileState now = file_state();
  if (!(now == parsed)) {
    iniparser_set_error_callback(discard_message);
    values.reset(now.exists ? iniparser_load(kPath) : nullptr);
    iniparser_set_error_callback(nullptr);
    parsed = now;
  }
  return values.get();
}

}  // namespace

std::optional<std::string> store_text(const std::string& section, const std::string& key) {
  const dictionary* values = store();
  if (values == nullptr) {
    return std::nullopt;
  }
  const std::string name = section + ":" + key;
  const char* text = iniparser_getstring(values, name.c_str(), nullptr);
  return text == nullptr ? std::nullopt : std::optional<std::string>(text);
}
