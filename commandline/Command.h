#pragma once

#include "commandline/Option.h"

#include <functional>
#include <string>
#include <vector>

namespace Ostrel::CommandLine {

/// A command of a program as a table, of which the parser, the help, the manual page and the
/// completion are made.
///
/// Texts are paragraphs with an empty line between them, and are broken where they have to be. A
/// line that begins with two blanks stays as it is.
struct Command {
    std::string name{};
    std::string description{}; ///< one sentence
    std::string notes{}; ///< what there is to know beside the options
    std::vector<std::string> examples{}; ///< lines for a shell
    std::vector<Option> options{};
    std::vector<Command> commands{}; ///< one of them must be given, unless there is something to run without
    std::string strayHint{}; ///< what to do about an argument too many
    std::function<void()> run{}; ///< called once the whole line is known to be good
};

/// The command that a program is.
struct Program : Command {
    struct ExitStatus {
        std::string number;
        std::string meaning;
    };

    std::string version{};
    std::vector<ExitStatus> exitStatuses{};
};

/// A program, a command of it, a command of that.
using Path = std::vector<const Command*>;

/// Returns the path as it is typed: "ostrel-tv scan blind".
std::string getName(const Path& path);

/// Returns the names of a command's commands.
std::vector<std::string> getCommandNames(const Command& command);

/// Returns the path that words name, from the program on.
///
/// @throws UsageError  a command has no such command
Path findPath(const Program& program, const std::vector<std::string>& words);

/// Returns the options of the last command of a path with those that each has.
std::vector<Option> getOptions(const Path& path);

} // namespace Ostrel::CommandLine
