#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/// A part of an INI text. `header` has the lines that name the section that its beginning belongs to,
/// when they are in an earlier piece. `text` is a view of the text.
struct IniPiece {
  std::string header;
  std::string_view text;

  bool operator==(const IniPiece&) const = default;
};

/// Cuts an INI text so that iniparser, loading piece after piece, each with its header in front, finds
/// in all together what it would find in the whole text. Pieces are cut between sections once they
/// have `least` bytes, and within a section once they have `most`.
std::vector<IniPiece> ini_pieces(std::string_view text, std::size_t least, std::size_t most);
