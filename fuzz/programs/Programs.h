#pragma once

#include "commandline/Command.h"

#include <memory>

namespace Ostrel::Test {

/// A program's description as its main() makes it, and what its readers write into.
struct Described {
    std::shared_ptr<void> place;
    CommandLine::Program program;
};

Described describeTv();
Described describeTvd();
Described describeWorld();

} // namespace Ostrel::Test
