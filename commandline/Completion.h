#pragma once

#include "commandline/Command.h"

#include <string>

namespace Ostrel::CommandLine {

/// Returns a script for bash that completes the commands of a program, their options, and the
/// values of those that have a list of them or are files.
std::string formatBashCompletion(const Program& program);

} // namespace Ostrel::CommandLine
