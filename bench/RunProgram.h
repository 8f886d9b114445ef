#pragma once

#include "commandline/Parser.h"
#include "commandline/UsageError.h"

#include <cstdio>
#include <exception>
#include <string>

namespace Ostrel::Bench {

/// Runs a program as its command line asks.
/// @returns the exit status: 0, or with a line on the standard error 2 for a command line that is refused and 1 for
/// whatever else went wrong
inline int runProgram(const CommandLine::Program& program, int argc, char** argv) {
    try {
        CommandLine::parse(program, argc, argv,
                           [](const std::string& asked) { std::fputs(asked.c_str(), stdout); })();
        return 0;
    } catch (const CommandLine::UsageError& error) {
        std::fprintf(stderr, "%s: %s\n", program.name.c_str(), error.what());
        return 2;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s: %s\n", program.name.c_str(), error.what());
        return 1;
    }
}

} // namespace Ostrel::Bench
