#include "db/hint_check.h"

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

// The environment variable AP_RUN_HINTS has one of these:
//
//   verify       a query that was answered ahead is asked again where the answer is taken; a difference
//                ends the process with the statement's text. For tests that run one hook at a time:
//                another hook may change the answer meanwhile.
//   none         hints are not followed
//   count:FILE   FILE gets a line "<queries fetched ahead> <answers never taken>" when the process
//                ends

namespace hint_check {

namespace {

std::string_view mode() {
  const char* text = std::getenv("AP_RUN_HINTS");
  return text == nullptr ? "" : text;
}

struct Counts {
  std::size_t fetched = 0;
  std::size_t dropped = 0;

  ~Counts() {
    constexpr std::string_view kCount = "count:";
    if (!mode().starts_with(kCount)) {
      return;
    }
    const std::string path(mode().substr(kCount.size()));
    if (std::FILE* file = std::fopen(path.c_str(), "ae")) {
      std::fprintf(file, "%zu %zu\n", fetched, dropped);
      std::fclose(file);
    }
  }
};

Counts counts;

/// Everything that the rows hold, as one text.
std::string contents(Rows& rows) {
  std::string all = rows ? "rows" : "failed";
  rows.rewind();
  for (const Row& row : rows) {
    all += '\n';
    for (unsigned int column = 0; column < row.columns(); ++column) {
      const std::optional<std::string_view> text = row[column];
      all += text ? "'" + std::string(*text) + "' " : "NULL ";
    }
  }
  rows.rewind();
  return all;
}

}  // namespace

bool is_verifying() {
  return mode() == "verify";
}

bool is_without_hints() {
  return mode() == "none";
}

void count(std::size_t fetched, std::size_t dropped) {
  counts.fetched += fetched;
  counts.dropped += dropped;
}

void expect_same(Rows& taken, Rows& asked_again, const char* statement) {
  const std::string first = contents(taken);
  const std::string second = contents(asked_again);
  if (first != second) {
    std::fprintf(stderr, "the answer to %s has changed since it was fetched:\n%s\nis now\n%s\n",
                 statement, first.c_str(), second.c_str());
    std::abort();
  }
}

}  // namespace hint_check
