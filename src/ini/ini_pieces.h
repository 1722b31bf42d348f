#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// A part of an INI text.
struct IniPiece {
  std::string header;     // of the section in which it begins, when that is in an earlier piece
  std::string_view text;  // a view of the whole

  bool operator==(const IniPiece&) const = default;
};

/// Cuts an INI text so that iniparser finds in the pieces, each with its header in front, what it would
/// find in the whole. Pieces are cut between sections once they have `least` bytes, and within a section
/// once they have `most`.
std::vector<IniPiece> ini_pieces(std::string_view text, std::size_t least, std::size_t most);
