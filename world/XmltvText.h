#pragma once

#include <string>
#include <string_view>

namespace Ostrel::TV::Tool {

/// Makes a text that a world may hold of UTF-8 that XML may hold: blanks, line breaks and control
/// characters in a row become one blank, and none is left around it.
std::string cleanText(std::string_view text);

/// Cuts a UTF-8 text to a number of bytes, between two characters, and ends what was cut with "…".
/// @param most  at least 3
/// @returns whether it was longer
bool cutText(std::string& text, std::size_t most);

/// Appends a text to XML, with its markup characters escaped for elements and attributes.
void appendEscaped(std::string& xml, std::string_view text);

} // namespace Ostrel::TV::Tool
