#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kit {

using Words = std::vector<std::string>;
using Lines = std::vector<std::string>;

/// The lines of a text, without their ends; a last line may lack its end.
Lines lines_of(std::string_view text);

std::string format(const char* text, ...) __attribute__((format(printf, 1, 2)));

}  // namespace kit
