#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

/// Cuts the text of an INI file before lines that begin a section, so that iniparser, loading piece
/// after piece, finds in each what it would find there in the whole file. A piece has at least
/// `least` bytes, unless it is the last. The views are of `text`.
std::vector<std::string_view> ini_pieces(std::string_view text, std::size_t least);
