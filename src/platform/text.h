#pragma once

#include <cstdarg>
#include <optional>
#include <string>
#include <string_view>

/// Lets the compiler check a printf-like function: the positions of its format and of its first
/// value, counted from 1 (a member function's `this` is 1).
#define AP_PRINTF(format_at, values_at) __attribute__((format(printf, format_at, values_at)))

/// The marker for "no value" in reports, capability files and the mail record.
inline constexpr const char* kMissingValue = "^o^";

/// The text `format` yields, or none when it cannot be formatted.
std::optional<std::string> my_format(const char* format, std::va_list values) AP_PRINTF(1, 0);

/// `previous` with the formatted text appended. The caller hands `previous` over and owns the
/// result; lists and blocks of lines grow with `lines = my_string(std::move(lines), ...)`. When the
/// values cannot be formatted the previous text comes back as it was.
std::string my_string(std::string previous, const char* format, ...) AP_PRINTF(2, 3);

/// A newly made formatted text, mostly a path; empty when it cannot be formatted.
std::string M(const char* format, ...) AP_PRINTF(1, 2);

/// `text` with the letters A to Z in lower case; every other byte stays, whatever the locale.
std::string my_tolower(std::string text);

/// The local date as "YYYYMMDD", the ending of the dated connection-log databases. `which` is 0
/// (today); other numbers are kept for other platforms and mean today as well.
std::string my_getDate(int which);
