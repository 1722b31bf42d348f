#include "reports/report.h"

#include <algorithm>

#include "platform/text.h"
#include "trace/trace_log.h"

std::optional<Report> Report::load(const std::string& path, const std::string& key) {
  const auto refuse = [&](const std::string& reason) {
    report_loss({"report_load", key}, Loss::upload, Remedy::next_report, reason);
    return std::nullopt;
  };
  const std::optional<std::string> text = read_regular_file(path, kMostBytes, Links::refuse);
  if (!text) {
    return refuse(path + " cannot be read, or is no regular file");
  }
  if (text->size() > kMostBytes || std::count(text->begin(), text->end(), '\n') > kMostLines) {
    return refuse(M("%s is larger than %zu bytes or %td lines: not loaded", path.c_str(),
                    kMostBytes, kMostLines));
  }
  std::string complaint;
  std::optional<IniFile> values = IniFile::parse(*text, path, complaint);
  if (!values) {
    return refuse(complaint + ": not loaded");
  }
  return Report(*std::move(values));
}

std::optional<std::string_view> Report::text(std::string_view section, std::string_view key) const {
  const char* value = values_.find(section, key);
  return value == nullptr || value == std::string_view(kMissingValue)
             ? std::nullopt
             : std::optional<std::string_view>(value);
}
