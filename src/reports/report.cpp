#include "reports/report.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>

#include "platform/text.h"
#include "reports/ini_pieces.h"
#include "trace/trace_log.h"
#include "values/decimal.h"

extern "C" {
#include <iniparser/iniparser.h>
}

namespace {

constexpr const char* kOperation = "report_load";

/// How much iniparser gets at a time. Setting a key, it walks all keys of the dictionary; with 200
/// or so of them that costs no more than reading the lines.
constexpr std::size_t kPieceBytes = 4'096;

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

class Descriptor {
 public:
  explicit Descriptor(int number) : number_(number) {}
  ~Descriptor() {
    if (number_ >= 0) {
      close(number_);
    }
  }
  Descriptor(const Descriptor&) = delete;
  Descriptor& operator=(const Descriptor&) = delete;

  int number() const { return number_; }

 private:
  int number_;
};

/// The text of a regular file, of a larger one than what is loaded one byte more than that; none
/// when it cannot be read.
std::optional<std::string> read_file(const std::string& path) {
  const Descriptor file(
      open(path.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
  struct stat info {};
  if (file.number() < 0 || fstat(file.number(), &info) != 0 || !S_ISREG(info.st_mode)) {
    return std::nullopt;
  }
  std::string text(static_cast<std::size_t>(std::min(info.st_size, Report::kMostBytes + 1)), '\0');
  std::size_t size = 0;
  while (size < text.size()) {
    const ssize_t got = read(file.number(), text.data() + size, text.size() - size);
    if (got <= 0) {
      break;
    }
    size += static_cast<std::size_t>(got);
  }
  text.resize(size);
  return text;
}

bool is_too_large(const std::string& text) {
  return static_cast<std::int64_t>(text.size()) > Report::kMostBytes ||
         std::count(text.begin(), text.end(), '\n') > Report::kMostLines;
}

/// Loads texts with iniparser, which opens files by name: each text becomes the content of an
/// unnamed file, known by the name under which the kernel lists our descriptor.
class Loader {
 public:
  explicit Loader(const std::string& key) : file_(memfd_create("report", MFD_CLOEXEC)) {
    loading_for = &key;
    iniparser_set_error_callback(trace_message);
  }
  ~Loader() { iniparser_set_error_callback(nullptr); }
  Loader(const Loader&) = delete;
  Loader& operator=(const Loader&) = delete;

  /// The dictionary of a text, or null.
  dictionary* load(std::string_view text) const {
    const bool written =
        ftruncate(file_.number(), 0) == 0 &&
        pwrite(file_.number(), text.data(), text.size(), 0) == static_cast<ssize_t>(text.size());
    return written ? iniparser_load(M("/proc/self/fd/%d", file_.number()).c_str()) : nullptr;
  }

 private:
  Descriptor file_;
};

}  // namespace

void Report::Free::operator()(_dictionary_* values) const {
  iniparser_freedict(values);
}

void Report::add(_dictionary_* values) {
  pieces_.emplace_back(values);
  for (ssize_t i = 0; i < values->size; ++i) {
    if (values->key[i] != nullptr) {
      index_.insert_or_assign(values->key[i], values->val[i]);
    }
  }
}

std::optional<Report> Report::load(const std::string& path, const std::string& key) {
  const std::optional<std::string> text = read_file(path);
  if (!text) {
    ap_debug_log({kOperation, key}, "%s cannot be read, or is no regular file", path.c_str());
    return std::nullopt;
  }
  if (is_too_large(*text)) {
    ap_debug_log({kOperation, key}, "%s is larger than %lld bytes or %lld lines: not loaded",
                 path.c_str(), static_cast<long long>(kMostBytes),
                 static_cast<long long>(kMostLines));
    return std::nullopt;
  }
  const Loader loader(key);
  Report report;
  for (const std::string_view piece : ini_pieces(*text, kPieceBytes)) {
    dictionary* values = loader.load(piece);
    if (values == nullptr) {
      const auto lines_before = std::count(text->data(), piece.data(), '\n');
      ap_debug_log({kOperation, key}, "%s cannot be parsed; its lines are counted from line %lld",
                   path.c_str(), static_cast<long long>(lines_before) + 1);
      return std::nullopt;
    }
    report.add(values);
  }
  return report;
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
