// Traffic as clients see it.

#include "simulator/SimulatorServer.h"

#include "Ostrel/transport/Listener.h"
#include "tests/simulator/TheModule.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestServer.h"
#include "tests/support/WireClient.h"

#include <gtest/gtest.h>

#include <regex>

namespace Ostrel::Test {
namespace {

class SimulatorTrafficTest : public testing::Test {
protected:
    SimulatorTrafficTest() { simulator_.init(); }

    WireClient connect(std::string_view path) const {
        WireClient client(listener_.getAddresses().front());
        client.upgrade(path);
        return client;
    }

    std::string ask(const std::string& method, const std::string& params) const {
        return WireClient(listener_.getAddresses().front())
            .post("/rpc/Simulator", R"({"jsonrpc":"2.0","id":7,"method":"Simulator::)" + method +
                                        R"(","params":)" + params + "}")
            .body;
    }

    /// Without what differs from run to run.
    static std::string normal(const std::string& text) {
        static const std::regex times(R"re("(time|micros)":[0-9.]+)re");
        static const std::regex clients(R"re("client":"127.0.0.1:\d+")re");
        return std::regex_replace(std::regex_replace(text, times, R"("$1":T)"), clients, R"("client":"C")");
    }

    const LogCapture log_;
    TestServer test_;
    SimulatorServer simulator_{theModule(), test_};
    const Listener listener_{{Address::parse("127.0.0.1:0")}, Admission({}, {}, "")};
};

TEST_F(SimulatorTrafficTest, IsThatOfOneServerAlone) {
    EXPECT_EQ(ask("trafficGet", "{}"), R"({"jsonrpc":"2.0","id":7,"result":[]})");
    connect("/rpc/Test").call(R"({"jsonrpc":"2.0","id":1,"method":"A::b"})");
    EXPECT_EQ(
        normal(ask("trafficGet", "{}")),
        R"({"jsonrpc":"2.0","id":7,"result":[{"time":T,"connection":2,"client":"C","direction":"request",)"
        R"("method":"A::b","id":1,"micros":T,"bytes":40,"text":"{\"jsonrpc\":\"2.0\",\"id\":1,\"method\":\"A::b\"}"},)"
        R"({"time":T,"connection":2,"client":"C","direction":"reply","method":"A::b","id":1,"micros":T,"bytes":84,)"
        R"("text":"{\"jsonrpc\":\"2.0\",\"id\":1,\"error\":{\"code\":-32601,\"message\":\"unknown interface \\\"A\\\"\"}}"}]})");
}

TEST_F(SimulatorTrafficTest, TheLatestAreTheLastOfTheReply) {
    auto client = connect("/rpc/Test");
    for (const auto* text : {"1", "2", "3"})
        client.call(text);
    const auto reply = normal(ask("trafficGet", R"({"last":3})"));
    const auto first = reply.find(R"("text":"{)");
    const auto second = reply.find(R"("text":"3")");
    ASSERT_NE(first, std::string::npos);
    ASSERT_NE(second, std::string::npos);
    EXPECT_LT(first, second);
    EXPECT_EQ(reply.find(R"("text":"2")"), std::string::npos);
    EXPECT_EQ(ask("trafficGet", R"({"last":0})"), R"({"jsonrpc":"2.0","id":7,"result":[]})");
}

TEST_F(SimulatorTrafficTest, AHundredAreWantedUnlessAnotherNumberIs) {
    auto client = connect("/rpc/Test");
    for (int i = 0; i < 60; ++i)
        client.call("1");
    const auto count = [](const std::string& text) {
        std::size_t number = 0;
        for (auto at = text.find("\"time\":"); at != std::string::npos; at = text.find("\"time\":", at + 1))
            ++number;
        return number;
    };
    EXPECT_EQ(count(ask("trafficGet", "{}")), 100u);
    EXPECT_EQ(count(ask("trafficGet", R"({"last":10000})")), 120u);
}

TEST_F(SimulatorTrafficTest, WrongParamsAreRefused) {
    const auto refused = [](const std::string& message, const std::string& member) {
        return R"({"jsonrpc":"2.0","id":7,"error":{"code":-32602,"message":")" + message +
               R"(","data":{"name":"DecodeError","member":")" + member + "\"}}}";
    };
    EXPECT_EQ(ask("trafficGet", R"({"last":10001})"),
              refused(R"(member \"last\" is not an integer from 0 to 10000)", "last"));
    EXPECT_EQ(ask("trafficGet", R"({"first":1})"), refused(R"(unknown member \"first\")", "first"));
    auto client = connect("/rpc/Simulator");
    EXPECT_EQ(client.call(R"({"jsonrpc":"2.0","id":7,"method":"Simulator::trafficWatch","params":{}})"),
              refused(R"(missing member \"on\")", "on"));
}

constexpr const char* watch =
    R"({"jsonrpc":"2.0","id":7,"method":"Simulator::trafficWatch","params":{"on":true}})";

TEST_F(SimulatorTrafficTest, IsNotWatchedByPost) {
    EXPECT_EQ(
        ask("trafficWatch", R"({"on":true})"),
        R"({"jsonrpc":"2.0","id":7,"error":{"code":-32600,"message":"traffic is watched by WebSocket: nothing is pushed to a POST"}})");
}

TEST_F(SimulatorTrafficTest, IsPushedToWhoeverWatches) {
    auto watcher = connect("/rpc/Simulator");
    auto viewer = connect("/rpc/Test");
    EXPECT_EQ(watcher.call(watch), R"({"jsonrpc":"2.0","id":7,"result":true})");
    viewer.call("1");
    EXPECT_EQ(
        normal(watcher.readFrame().payload),
        R"({"jsonrpc":"2.0","method":"Simulator::onTraffic","params":{"time":T,"connection":2,"client":"C",)"
        R"("direction":"request","method":"","id":null,"micros":T,"bytes":1,"text":"1"}})");
    EXPECT_NE(watcher.readFrame().payload.find(R"("direction":"reply")"), std::string::npos);
}

TEST_F(SimulatorTrafficTest, IsNotPushedToOthers) {
    auto watcher = connect("/rpc/Simulator");
    auto other = connect("/rpc/Simulator");
    auto viewer = connect("/rpc/Test");
    watcher.call(watch);
    viewer.call("1");
    watcher.readFrame();
    watcher.readFrame();
    other.sendText("[]");
    EXPECT_NE(other.readFrame().payload.find("-32600"), std::string::npos) << "something else came first";
}

TEST_F(SimulatorTrafficTest, ANotificationIsOneMessageHoweverManyGetIt) {
    auto first = connect("/rpc/Test");
    auto second = connect("/rpc/Test");
    first.call("1");
    second.call("1"); // both are there
    test_.handleRPCNotification("Test::onThing", R"({"a":1})");
    EXPECT_EQ(
        normal(ask("trafficGet", R"({"last":1})")),
        R"({"jsonrpc":"2.0","id":7,"result":[{"time":T,"connection":0,"client":"","direction":"notification",)"
        R"("method":"Test::onThing","micros":T,"bytes":59,)"
        R"("text":"{\"jsonrpc\":\"2.0\",\"method\":\"Test::onThing\",\"params\":{\"a\":1}}"}]})");
    EXPECT_NE(ask("trafficGet", R"({"last":2})").find(R"("direction":"reply")"), std::string::npos);
}

} // namespace
} // namespace Ostrel::Test
