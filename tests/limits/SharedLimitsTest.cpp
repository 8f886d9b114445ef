// What all clients have together, at each limit and one past it.

#include "tests/limits/FromOutside.h"

#include <boost/json.hpp>

#include <chrono>
#include <string>
#include <vector>

namespace Ostrel::Test {
namespace {

using SharedLimits = FromOutside;

constexpr const char* health = "GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n";

TEST_F(SharedLimits, TwoHundredFiftySixConnectionsAreOpen) {
    std::vector<WireClient> open;
    for (int i = 0; i < 254; ++i)
        open.push_back(i % 2 == 0 ? webSocket() : localWebSocket());
    for (const auto& where : {address(), socketFile()}) {
        open.emplace_back(where);
        open.back().send(health);
        EXPECT_EQ(open.back().readAnswer().status, 200);
    }
    for (const auto& where : {address(), socketFile()}) {
        WireClient past(where);
        past.send(health);
        EXPECT_EQ(past.readAnswer().status, 503);
        EXPECT_TRUE(past.isClosedByPeer());
    }
    EXPECT_NE(open.front().call(request("nothing")).find("-32601"), std::string::npos);

    open.pop_back();
    const auto statusOfNext = [&] {
        WireClient next(address());
        next.send(health);
        return next.readAnswer().status;
    };
    while (statusOfNext() != 200) { // as soon as it is noticed; else this never ends
    }
}

TEST_F(SharedLimits, SixtyFiveThousandContextsLive) {
    constexpr std::size_t limit = 65'536;
    const auto create = request("ITVService::createContext");
    std::string batch = "[" + create;
    for (int i = 1; i < 100; ++i)
        batch += "," + create;
    batch += "]";
    auto client = webSocket();
    std::string last;
    std::size_t count = 0;
    for (; count + 100 <= limit; count += 100)
        last = client.call(batch);
    ASSERT_EQ(last.find("error"), std::string::npos) << last;
    for (; count < limit; ++count)
        EXPECT_NE((last = client.call(create)).find("result"), std::string::npos);

    const auto past = client.call(create);
    EXPECT_NE(past.find(R"("code":-32603,"message":"Out of memory")"), std::string::npos) << past;
    EXPECT_NE(past.find(R"("name":"OutOfMemory")"), std::string::npos) << past;
    const auto context = boost::json::serialize(boost::json::parse(last).at("result"));
    EXPECT_NE(
        client.call(request("ITVService::deleteContext", R"({"context":)" + context + "}")).find("null"),
        std::string::npos);
    EXPECT_NE(client.call(create).find("result"), std::string::npos) << "there is room for one";
    EXPECT_NE(client.call(create).find("-32603"), std::string::npos) << "and for one alone";
}

TEST_F(SharedLimits, TwentyThousandNotificationsASecondAreSent) {
    constexpr std::size_t perSecond = 20'000, listeners = 250;
    std::vector<WireClient> clients;
    for (std::size_t i = 0; i < listeners; ++i) {
        clients.push_back(webSocket());
        clients.back().call(request("nothing")); // it is sent what happens from now on
    }
    auto& raiser = clients.front();
    const auto context = createContext();
    const auto start = call("ITVConfig::scanBlindStart", context, R"({"sourceId":1,"useNIT":0})");
    const auto stop = call("ITVConfig::scanStop", context, R"({"sourceId":1})");

    const auto begin = std::chrono::steady_clock::now();
    std::size_t sent = 0;
    while (sent < 3 * perSecond) {
        for (const auto& each : {start, stop}) {
            raiser.sendText(each);
            for (auto frame = raiser.readFrame(); frame.payload.find("\"id\"") == std::string::npos;
                 frame = raiser.readFrame())
                sent += listeners;
        }
    }
    // A second's worth is free, and the last one is not waited for.
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_GE(took, std::chrono::milliseconds(1000 * (sent - perSecond) / perSecond - 100));
}

} // namespace
} // namespace Ostrel::Test
