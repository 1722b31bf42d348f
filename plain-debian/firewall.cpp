#include "platform/firewall.h"

#include <iterator>
#include <sstream>
#include <thread>

#include "child.h"
#include "platform/database.h"

namespace {

constexpr int kRunTextAfterArrow = 4;  // the only mode that the system uses
constexpr std::string_view kArrow = "=> ";

/// The exit status of iptables, without waiting, while another is at work. It is tried again: in a
/// firmware round many APs are let in at the same moment.
constexpr int kBusy = 4;
constexpr int kMostPauses = 20;  // per process
constexpr std::chrono::milliseconds kPause{100};

int run_firewall(const std::vector<std::string>& words) {
  static int pauses = 0;
  int status = run_child(words, "", kNoLimit);
  for (; status == kBusy && pauses < kMostPauses; ++pauses) {
    my_mysql_release();
    std::this_thread::sleep_for(kPause);
    status = run_child(words, "", kNoLimit);
  }
  return status;
}

}  // namespace

int my_iptables(int mode, const char* format, ...) {
  std::va_list values;
  va_start(values, format);
  const std::optional<std::string> text = my_format(format, values);
  va_end(values);
  const std::size_t arrow = text ? text->find(kArrow) : std::string::npos;
  if (mode != kRunTextAfterArrow || arrow == std::string::npos) {
    return -1;
  }
  std::istringstream line(text->substr(arrow + kArrow.size()));
  const std::vector<std::string> words(std::istream_iterator<std::string>(line), {});
  return words.empty() ? -1 : run_firewall(words);
}
