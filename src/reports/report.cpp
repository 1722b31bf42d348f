#include "reports/report.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>

#include "db/decimal.h"
#include "entry/trace_log.h"
#include "platform/text.h"

extern "C" {
#include <iniparser/iniparser.h>
}

namespace {

constexpr const char* kOperation = "report_load";

/// The key under which the library's messages are traced while it loads a file.
const std::string* loading_for = nullptr;

AP_PRINTF(1, 2) int trace_message(const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  std::string message = my_format(format, values).value_or("");
  va_end(values);
  while (message.ends_with('\n')) {
    message.pop_back();
  }
  ap_debug_log({kOperation, *loading_for}, "%s", message.c_str());
  return static_cast<int>(message.size());
}

/// iniparser opens files by name. To be sure of what it reads we open the file ourselves and pass
/// on the name under which the kernel lists our descriptor.
class RegularFile {
 public:
  explicit RegularFile(const std::string& path)
      : number_(open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {}
  ~RegularFile() {
    if (number_ >= 0) {
      close(number_);
    }
  }
  RegularFile(const RegularFile&) = delete;
  RegularFile& operator=(const RegularFile&) = delete;

  bool usable() const {
    struct stat info {};
    return number_ >= 0 && fstat(number_, &info) == 0 && S_ISREG(info.st_mode);
  }

  /// Whether the file is larger than what is loaded. Reads no more than that.
  bool too_large() const {
    std::array<char, 65'536> block{};
    std::int64_t lines = 0;
    std::int64_t bytes = 0;
    while (bytes <= Report::kMostBytes && lines <= Report::kMostLines) {
      const ssize_t got = pread(number_, block.data(), block.size(), bytes);
      if (got <= 0) {
        return false;
      }
      bytes += got;
      lines += std::count(block.data(), block.data() + got, '\n');
    }
    return true;
  }
  std::string name() const { return M("/proc/self/fd/%d", number_); }

 private:
  int number_;
};

}  // namespace

void Report::Free::operator()(_dictionary_* values) const {
  iniparser_freedict(values);
}

Report::Report(_dictionary_* values) : values_(values) {
  index_.reserve(static_cast<std::size_t>(values->n));
  for (ssize_t i = 0; i < values->size; ++i) {
    if (values->key[i] != nullptr) {
      index_.emplace(values->key[i], values->val[i]);
    }
  }
}

std::optional<Report> Report::load(const std::string& path, const std::string& key) {
  const RegularFile file(path);
  if (!file.usable()) {
    ap_debug_log({kOperation, key}, "%s cannot be read, or is no regular file", path.c_str());
    return std::nullopt;
  }
  if (file.too_large()) {
    ap_debug_log({kOperation, key}, "%s is larger than %lld bytes or %lld lines: not loaded",
                 path.c_str(), static_cast<long long>(kMostBytes),
                 static_cast<long long>(kMostLines));
    return std::nullopt;
  }
  loading_for = &key;
  iniparser_set_error_callback(trace_message);
  dictionary* values = iniparser_load(file.name().c_str());
  iniparser_set_error_callback(nullptr);
  if (values == nullptr) {
    ap_debug_log({kOperation, key}, "%s cannot be parsed", path.c_str());
    return std::nullopt;
  }
  return Report(values);
}

const char* Report::find(std::string_view section, std::string_view key) const {
  std::string name;
  name.reserve(section.size() + 1 + key.size());
  name.append(section).append(1, ':').append(key);
  const auto found = index_.find(my_tolower(std::move(name)));
  // A section's own name is in the dictionary too, without a value.
  if (found == index_.end() || found->second == nullptr ||
      found->second == std::string_view(kMissingValue)) {
    return nullptr;
  }
  return found->second;
}

std::optional<std::string_view> Report::text(std::string_view section, std::string_view key) const {
  const char* value = find(section, key);
  return value == nullptr ? std::nullopt : std::optional<std::string_view>(value);
}

std::int32_t Report::number(std::string_view section, std::string_view key) const {
  const char* value = find(section, key);
  return value == nullptr ? 0 : cut_to<std::int32_t>(std::strtoll(value, nullptr, 0));
}

std::uint32_t Report::unsigned_number(std::string_view section, std::string_view key) const {
  return cut_to<std::uint32_t>(unsigned64_number(section, key));
}

std::uint64_t Report::unsigned64_number(std::string_view section, std::string_view key) const {
  const char* value = find(section, key);
  return value == nullptr ? 0 : std::strtoull(value, nullptr, 0);
}
