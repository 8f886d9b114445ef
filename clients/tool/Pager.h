#pragma once

#include <string>

namespace Ostrel::Client::Tool {

/// Prints a text for people: on a terminal that has fewer lines through the program that $PAGER
/// names, less(1) where nothing is named. Anywhere else, or when PAGER is empty, at once.
///
/// @throws OutputClosed, std::system_error
void page(const std::string& text);

} // namespace Ostrel::Client::Tool
