#pragma once

#include "host/Host.h"
#include "tests/support/TempDirectory.h"

#include <cstdlib>

namespace Ostrel::Test {

/// Where the built-in world is loaded from as anybody's is; null where the library's own is served.
inline const char* loadedWorld() {
    return std::getenv("OSTREL_TEST_WORLD");
}

/// The host that all tests of this program talk to, on a TCP port and a Unix domain socket:
/// the world is loaded once in a process.
inline Host& theHost() {
    static const TempDirectory directory;
    static Host host({.listen = {"127.0.0.1:0", "unix:" + directory.file("socket")},
                      .world = loadedWorld() == nullptr ? "" : loadedWorld()});
    return host;
}

} // namespace Ostrel::Test
