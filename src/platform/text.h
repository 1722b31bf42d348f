#pragma once

#include <cstdarg>
#include <optional>
#include <string>
#include <string_view>

/// Has the compiler check a printf-like function: the positions of its format and of its first value,
/// counted from 1 (a member function's `this` is 1).
#define AP_PRINTF(format_at, values_at) __attribute__((format(printf, format_at, values_at)))

/// The marker for "no value" in reports, capability files and the mail record.
inline constexpr const char* kMissingValue = "^o^";

/// The text `format` yields, or none when it cannot be formatted.
std::optional<std::string> my_format(const char* format, std::va_list values) AP_PRINTF(1, 0);

/// `previous` with the formatted text appended, or as it was when that cannot be formatted. Lists and
/// blocks of lines grow with `lines = my_string(std::move(lines), ...)`.
std::string my_string(std::string previous, const char* format, ...) AP_PRINTF(2, 3);

/// A formatted text, mostly a path; empty when it cannot be formatted.
std::string M(const char* format, ...) AP_PRINTF(1, 2);

/// `text` with the letters A to Z in lower case; every other byte stays, whatever the locale.
std::string my_tolower(std::string text);

/// The local date as "YYYYMMDD", with which the names of connection-log databases end. `which` is 0
/// (today); other numbers are reserved and mean today as well.
std::string my_getDate(int which);
