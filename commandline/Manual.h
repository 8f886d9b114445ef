#pragma once

#include "commandline/Command.h"

#include <string>

namespace Ostrel::CommandLine {

/// Returns the manual page of a program and all its commands, for man(1).
std::string formatManual(const Program& program);

} // namespace Ostrel::CommandLine
