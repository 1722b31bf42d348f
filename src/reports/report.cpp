#include "reports/report.h"

#include <algorithm>
#include <cstdlib>

#include "platform/system_log.h"
#include "platform/text.h"
#include "trace/trace_log.h"
#include "values/decimal.h"

namespace {

constexpr const char* kOperation = "report_load";

void refuse(const std::string& key, const std::string& reason) {
  ap_debug_log({kOperation, key}, "%s", reason.c_str());
  my_report_loss(Loss::upload, Remedy::next_report, M("AP %s: %s", key.c_str(), reason.c_str()));
}

bool is_too_large(const std::string& text) {
  return static_cast<std::int64_t>(text.size()) > Report::kMostBytes ||
         std::count(text.begin(), text.end(), '\n') > Report::kMostLines;
}

}  // namespace

std::optional<Report> Report::load(const std::string& path, const std::string& key) {
  const std::optional<std::string> text =
      read_regular_file(path, static_cast<std::size_t>(kMostBytes), Links::refuse);
  if (!text) {
    refuse(key, path + " cannot be read, or is no regular file");
    return std::nullopt;
  }
  if (is_too_large(*text)) {
    refuse(key, M("%s is larger than %lld bytes or %lld lines: not loaded", path.c_str(),
                  static_cast<long long>(kMostBytes), static_cast<long long>(kMostLines)));
    return std::nullopt;
  }
  std::string complaint;
  std::optional<IniFile> values = IniFile::parse(*text, path, complaint);
  if (!values) {
    refuse(key, complaint + ": not loaded");
    return std::nullopt;
  }
  return Report(*std::move(values));
}

const char* Report::find(std::string_view section, std::string_view key) const {
  const char* value = values_.find(section, key);
  return value == nullptr || value == std::string_view(kMissingValue) ? nullptr : value;
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
