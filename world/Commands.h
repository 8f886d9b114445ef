#pragma once

#include "commandline/Command.h"

namespace Ostrel::TV::Tool {

using CommandLine::Command;

// Each returns one command.

} // namespace Ostrel::TV::Tool
