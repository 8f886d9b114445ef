#pragma once

#include "commandline/Command.h"

#include <functional>
#include <string>

namespace Ostrel::CommandLine {

/// Writes a text that was asked for, such as a help, to standard output.
using Print = std::function<void(const std::string&)>;

/// Reads a command line: values go to the readers of their options, and what is to be done comes
/// back. That is the command's own run, or to print the help, the version, the manual page
/// (--man) or the script for bash (--bash-completion); the last two are for the build, and are
/// told nowhere.
///
/// Options of a command go before or after the commands behind it.
///
/// @param program  must live until the result has run
/// @throws UsageError  says what is wrong, and where to read more
std::function<void()> parse(const Program& program, int argc, const char* const* argv, const Print& print);

} // namespace Ostrel::CommandLine
