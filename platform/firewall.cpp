#include "platform/firewall.h"

#include <sstream>

#include "child.h"

namespace {

constexpr int kRunTextBehindArrow = 4;  // the only mode that the system uses
constexpr std::string_view kArrow = "=> ";

}  // namespace

int my_iptables(int mode, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const std::optional<std::string> text = my_format(format, values);
  va_end(values);
  if (mode != kRunTextBehindArrow || !text) {
    return -1;
  }
  const std::size_t arrow = text->find(kArrow);
  if (arrow == std::string::npos) {
    return -1;
  }
  std::istringstream line(text->substr(arrow + kArrow.size()));
  std::vector<std::string> words;
  for (std::string word; line >> word;) {
    words.push_back(word);
  }
  return words.empty() ? -1 : run_child(words, "", kNoLimit);
}
