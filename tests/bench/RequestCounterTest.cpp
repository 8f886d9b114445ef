#include "bench/RequestCounter.h"
#include "tests/support/WireClient.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>

namespace Ostrel::Bench {

namespace {

using Ostrel::Test::frame;
using Ostrel::Test::upgradeRequest;

const std::string post = "POST /rpc/TV HTTP/1.1\r\nHost: localhost\r\nContent-Length: 5\r\n\r\n12345";

TEST(RequestCounterTest, CountsFramesAfterAnUpgrade) {
    RequestCounter counter;
    const auto upgrade = counter.take(upgradeRequest("/rpc/TV"));
    EXPECT_TRUE(upgrade.isUpgrade);
    EXPECT_EQ(upgrade.requests, 0u);
    EXPECT_TRUE(counter.isWebSocket());

    const auto count =
        counter.take(frame(1, "one") + frame(1, std::string(200, 'x')) + frame(1, std::string(70'000, 'y')));
    EXPECT_FALSE(count.isUpgrade);
    EXPECT_EQ(count.requests, 3u);
    EXPECT_FALSE(count.isClosing);
}

TEST(RequestCounterTest, CountsRequestsWithTheirBodies) {
    RequestCounter counter;
    EXPECT_EQ(counter.take(post).requests, 1u);
    EXPECT_EQ(counter.take(post + post).requests, 2u);
    EXPECT_FALSE(counter.isWebSocket());
}

TEST(RequestCounterTest, CountsWhatComesByteByByteOnce) {
    const std::tuple<std::string, std::string, std::size_t> rows[] = {
        {"", post + post, 2},
        {upgradeRequest("/rpc/TV"), frame(1, std::string(300, 'x')), 1},
    };
    for (const auto& [start, all, expected] : rows) {
        RequestCounter counter;
        counter.take(start);
        std::size_t requests = 0;
        for (const char byte : all)
            requests += counter.take({&byte, 1}).requests;
        EXPECT_EQ(requests, expected);
    }
}

TEST(RequestCounterTest, TellsAGoodbyeFromARequest) {
    RequestCounter counter;
    counter.take(upgradeRequest("/rpc/TV"));
    EXPECT_EQ(counter.take(frame(10, "")).requests, 0u);
    const auto count = counter.take(frame(8, std::string("\x03\xe8")));
    EXPECT_EQ(count.requests, 0u);
    EXPECT_TRUE(count.isClosing);
}

} // namespace

} // namespace Ostrel::Bench
