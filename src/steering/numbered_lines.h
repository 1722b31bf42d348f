#pragma once

#include <string>

#include "db/connection.h"

/// Lines of an AP's command, "<key><number>=<value>", numbered from 0 without gaps.
class NumberedLines {
 public:
  explicit NumberedLines(const char* key) : key_(key) {}

  /// Adds a line, and traces all lines so far.
  void add(const std::string& value, const Connection& db, const Step& step) {
    text_ = my_string(std::move(text_), "%s%d=%s\n", key_, count_++, value.c_str());
    db.note(step, "@@ %s", text_.c_str());
  }

  int count() const { return count_; }
  const std::string& text() const { return text_; }

 private:
  const char* key_;
  int count_ = 0;
  std::string text_;
};
