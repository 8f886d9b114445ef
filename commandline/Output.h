#pragma once

#include <cstddef>
#include <exception>
#include <string_view>

#include <unistd.h>

namespace Ostrel::CommandLine {

/// Nobody reads standard output any more, as after "| head".
class OutputClosed : public std::exception {};

/// Writes to standard output at once.
///
/// @throws OutputClosed, std::system_error
void print(std::string_view text);

/// Returns how many columns the terminal behind a descriptor has, 80 where it is none.
std::size_t getTerminalWidth(int descriptor = STDOUT_FILENO);

} // namespace Ostrel::CommandLine
