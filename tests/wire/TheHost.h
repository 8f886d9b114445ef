#pragma once

#include "host/Host.h"
#include "tests/support/TempDirectory.h"

namespace Ostrel::Test {

/// The host that all tests of this program talk to, on a TCP port and a Unix domain socket:
/// the built-in data are loaded once in a process.
inline Host& theHost() {
    static const TempDirectory directory;
    static Host host({.listen = {"127.0.0.1:0", "unix:" + directory.file("socket")}});
    return host;
}

} // namespace Ostrel::Test
