#pragma once

#include "commandline/Command.h"

#include <cstddef>
#include <string>

namespace Ostrel::CommandLine {

/// The name of the command that addHelp() adds.
constexpr const char* helpCommand = "help";

/// Adds a command to a program that has others: "help scan blind" is "scan blind --help". The
/// parser knows what to do.
void addHelp(Program& program);

/// Returns how a command is called: "ostrel-tv call [OPTION ...] METHOD [PAYLOAD]".
std::string formatUsage(const Path& path);

/// Returns what is known of an option's value beside its description: "[all]", or with a variable
/// of the environment "[$OSTREL_TV_URL, else 127.0.0.1]". May be empty.
std::string formatStandard(const Option& option);

/// Returns the help of the last command of a path.
///
/// @param columns  what a line may have; examples and what is laid out already may have more
std::string formatHelp(const Program& program, const Path& path, std::size_t columns);

} // namespace Ostrel::CommandLine
