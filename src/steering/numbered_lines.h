#pragma once

#include <string>

#include "platform/text.h"

/// Lines of an AP's command, "<key><number>=<value>", numbered from 0 without gaps.
class NumberedLines {
 public:
  explicit NumberedLines(const char* key) : key_(key) {}

  void add(const std::string& value) {
    text_ = my_string(std::move(text_), "%s%d=%s\n", key_, count_++, value.c_str());
  }

  int count() const { return count_; }
  const std::string& text() const { return text_; }

 private:
  const char* key_;
  int count_ = 0;
  std::string text_;
};
