#pragma once

#include <string_view>

#include "table.h"

// The figures of the scripts beside the driver, which print them for people, as sections of the
// table. What is no number stays a word.

/// Of bench/join-storm: blocks of a title line and lines "    label   figure"; a block becomes a
/// column.
Section section_of_blocks(std::string_view title, std::string_view output);

/// Of bench/steering-pass: a line of column names, then lines of figures in columns of the same
/// widths; a line becomes a column of the section.
Section section_of_lines(std::string_view title, std::string_view output);
