#include "world/Interrupt.h"

#include <gtest/gtest.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>

#include <unistd.h>

namespace Ostrel::TV::Tool {
namespace {

/// As a listing is read that comes slowly. Ends the process.
void waitForInput() {
    watchForSignals();
    std::array<int, 2> ends{};
    if (::pipe(ends.data()) != 0)
        std::exit(1);
    try {
        checkForInterrupt();
        std::raise(SIGTERM); // between the look and the call
        char byte = 0;
        if (::read(ends[0], &byte, 1) < 0 && errno == EINTR)
            checkForInterrupt();
    } catch (const Interrupted& interrupted) {
        std::exit(128 + interrupted.getSignal());
    }
    std::exit(1);
}

TEST(InterruptTest, SignalJustBeforeACallThatWaitsIsNotLost) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(waitForInput(), testing::ExitedWithCode(143), "");
}

} // namespace
} // namespace Ostrel::TV::Tool
