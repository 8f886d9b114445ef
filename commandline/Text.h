#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace Ostrel::CommandLine {

/// Replaces control characters, which could play tricks on a terminal.
std::string printable(std::string_view text);

/// Breaks a text of one or more paragraphs between words.
///
/// A line that begins with two blanks is left whole. The lines have no indent before the first
/// and end in a line break each.
///
/// @param indent   blanks before each further line
/// @param columns  what a line may have, with its indent; a longer word stands alone
std::string wrap(std::string_view text, std::size_t indent, std::size_t columns);

/// Returns how wide texts for people may be: what COLUMNS says, else what the terminal behind
/// standard output has, else 80; from 40 to 100.
std::size_t getTextWidth();

} // namespace Ostrel::CommandLine
