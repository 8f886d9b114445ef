#include "bench/RequestReader.h"
#include "tests/support/WireClient.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace Ostrel::Bench {

namespace {

using Ostrel::Test::frame;
using Ostrel::Test::upgradeRequest;

const std::string post = "POST /rpc/TV HTTP/1.1\r\nHost: localhost\r\nContent-Length: 5\r\n\r\n12345";

TEST(RequestReaderTest, FindsFramesAfterAnUpgrade) {
    RequestReader reader;
    const auto upgrade = reader.take(upgradeRequest("/rpc/TV"));
    EXPECT_TRUE(upgrade.isUpgrade);
    EXPECT_EQ(upgrade.ids.size(), 0u);
    EXPECT_TRUE(reader.isWebSocket());

    const auto found =
        reader.take(frame(1, "one") + frame(1, std::string(200, 'x')) + frame(1, std::string(70'000, 'y')));
    EXPECT_FALSE(found.isUpgrade);
    EXPECT_EQ(found.ids.size(), 3u);
    EXPECT_FALSE(found.isClosing);
}

TEST(RequestReaderTest, FindsRequestsWithTheirBodies) {
    RequestReader reader;
    EXPECT_EQ(reader.take(post).ids.size(), 1u);
    EXPECT_EQ(reader.take(post + post).ids.size(), 2u);
    EXPECT_FALSE(reader.isWebSocket());
}

TEST(RequestReaderTest, FindsWhatComesByteByByteOnce) {
    const std::tuple<std::string, std::string, std::size_t> rows[] = {
        {"", post + post, 2},
        {upgradeRequest("/rpc/TV"), frame(1, std::string(300, 'x')), 1},
    };
    for (const auto& [start, all, expected] : rows) {
        RequestReader reader;
        reader.take(start);
        std::size_t requests = 0;
        for (const char byte : all)
            requests += reader.take({&byte, 1}).ids.size();
        EXPECT_EQ(requests, expected);
    }
}

TEST(RequestReaderTest, ReadsIds) {
    const std::string text = R"({"jsonrpc":"2.0","id":4711,"method":"m"})";
    const std::vector<std::string> expected = {"4711", "", "4711"};
    RequestReader webSocket;
    webSocket.take(upgradeRequest("/rpc/TV"));
    EXPECT_EQ(webSocket.take(frame(1, text) + frame(1, "{}") + frame(1, text + std::string(200, ' '))).ids,
              expected);

    RequestReader http;
    const auto head = "POST / HTTP/1.1\r\nContent-Length: " + std::to_string(text.size()) + "\r\n\r\n";
    EXPECT_EQ(http.take(head + text).ids, std::vector<std::string>{"4711"});
}

TEST(RequestReaderTest, TellsAGoodbyeFromARequest) {
    RequestReader reader;
    reader.take(upgradeRequest("/rpc/TV"));
    EXPECT_EQ(reader.take(frame(10, "")).ids.size(), 0u);
    const auto found = reader.take(frame(8, std::string("\x03\xe8")));
    EXPECT_EQ(found.ids.size(), 0u);
    EXPECT_TRUE(found.isClosing);
}

} // namespace

} // namespace Ostrel::Bench
