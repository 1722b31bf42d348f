#include "kit/trace_lines.h"

#include <regex>

#include "kit/text.h"

namespace kit {

std::vector<TraceLine> trace_lines(const std::string& text) {
  static const std::regex kHead(R"(\d{4}/\d\d/\d\d \d\d:\d\d:\d\d \d+\[([^:\]]+):\d+\] )");
  std::vector<TraceLine> trace;
  for (const std::string& line : lines_of(text)) {
    std::smatch head;
    if (std::regex_search(line, head, kHead, std::regex_constants::match_continuous)) {
      trace.push_back({head[1], head.suffix()});
    } else if (!trace.empty()) {
      trace.back().message += "\n" + line;
    }
  }
  return trace;
}

}  // namespace kit
