#include "steering/numbered_lines.h"

#include "platform/text.h"

void NumberedLines::add(const std::string& value) {
  text_ = my_string(std::move(text_), "%s%d=%s\n", key_, count_++, value.c_str());
}
