#include "Ostrel/transport/RefusalLog.h"

#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

namespace Ostrel::Test {
namespace {

TEST(RefusalLogTest, AtMostOneLineASecond) {
    const LogCapture log;
    RefusalLog refusals;
    const RefusalLog::Clock::time_point start{std::chrono::hours(1)};
    refusals.write("first\n", start);
    refusals.write("second\n", start + std::chrono::milliseconds(999));
    refusals.write("third\n", start + std::chrono::milliseconds(1000));
    refusals.write("fourth\n", start + std::chrono::milliseconds(1999));
    EXPECT_EQ(log.texts(), (std::vector<std::string>{"refused: first", "refused: third"}));
}

} // namespace
} // namespace Ostrel::Test
