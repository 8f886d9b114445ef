#pragma once

#include "commandline/Command.h"

namespace Ostrel::TV::Tool {

using CommandLine::Command;

// Each returns one command.
Command makeCheck();
Command makeCompile();
Command makeExport();
Command makeImport();
Command makeShow();
Command makeSynthetic();

} // namespace Ostrel::TV::Tool
