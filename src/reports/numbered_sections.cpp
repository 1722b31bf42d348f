#include "reports/numbered_sections.h"

#include "values/split.h"

const char* band_prefix(Band band, const char* five_ghz) {
  return band == Band::five_ghz ? five_ghz : "";
}

std::string value_or_marker(const Report& report, const std::string& section, const char* key,
                            std::size_t longest) {
  const std::optional<std::string_view> value = report.text(section, key);
  return value ? std::string(value->substr(0, longest)) : kMissingValue;
}

std::string level_value(const Report& report, const std::string& section, const char* key) {
  constexpr std::size_t kLongest = 9;
  return std::string(first_word(report.text(section, key).value_or("0"), kLongest));
}
