#pragma once

#include <optional>
#include <string>

/// The value of `key` in `section` of the settings file /etc/ap-run/platform.ini; none when the
/// file, the section or the key is missing. The file is parsed at the first call and again only
/// when it has changed.
std::optional<std::string> store_text(const std::string& section, const std::string& key);
