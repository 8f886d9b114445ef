#include "Ostrel/rpc/RPCInterceptor.h"

#include "Ostrel/rpc/Exception.h"
#include "Ostrel/rpc/RPCNotifier.h"
#include "Ostrel/transport/Listener.h"
#include "Ostrel/transport/WebSocket.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestServer.h"
#include "tests/support/WireClient.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <filesystem>
#include <iterator>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Ostrel::Test {
namespace {

using namespace std::chrono_literals;
using Call = IRPC::RPCSynchronousMethodObject;
using Clock = std::chrono::steady_clock;
using Fate = RPCInterceptor::RequestFate;

/// Gives each name the fate that the test has set, and writes down who asked.
class Fates : public RPCInterceptor {
public:
    void set(const std::string& name, Fate fate) {
        const std::lock_guard lock(mutex_);
        requests_[name] = fate;
    }
    void setNotification(const std::string& name, NotificationFate fate) {
        const std::lock_guard lock(mutex_);
        notifications_[name] = fate;
    }
    void note(const std::string& what) {
        const std::lock_guard lock(mutex_);
        log_ += what + ' ';
    }
    std::string takeLog() {
        const std::lock_guard lock(mutex_);
        return std::exchange(log_, {});
    }

    RequestFate judgeRequest(std::string_view name) noexcept override {
        const std::lock_guard lock(mutex_);
        log_ += "judge:" + std::string(name) + ' ';
        return requests_[std::string(name)];
    }
    NotificationFate judgeNotification(std::string_view name) noexcept override {
        const std::lock_guard lock(mutex_);
        return notifications_[std::string(name)];
    }

private:
    std::mutex mutex_;
    std::map<std::string, RequestFate> requests_;
    std::map<std::string, NotificationFate> notifications_;
    std::string log_;
};

std::string request(const std::string& method, int id = 1) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":")" + method + R"("})";
}

std::string reply(int id = 1) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"result":"{}"})";
}

std::string notification(const std::string& name) {
    return R"({"jsonrpc":"2.0","method":")" + name + R"(","params":{}})";
}

class InterceptorTest : public testing::Test {
protected:
    InterceptorTest() {
        for (const std::string name : {"first", "second"})
            server_.on(name, [this, name](const Call& call) {
                fates_.note("run:" + name);
                return TestServer::echo(call);
            });
        server_.setInterceptor(&fates_);
        listener_.emplace(std::vector{Address::parse("127.0.0.1:0")}, Admission({}, {}, ""));
    }

    WireClient connect() const { return WireClient(listener_->getAddresses().front()); }

    WireClient webSocket() const {
        auto client = connect();
        client.upgrade("/rpc/Test");
        return client;
    }

    /// Posts a message, and reads all that comes until the connection ends.
    std::string postAndRead(std::string_view body) const {
        auto client = connect();
        client.send("POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
                    "Content-Length: " +
                    std::to_string(body.size()) + "\r\n\r\n" + std::string(body));
        return client.readAll();
    }

    /// Waits until so many requests wait: as many have asked for their fate.
    void awaitJudged(std::size_t count) {
        std::string log;
        const auto judged = [&] {
            log += fates_.takeLog();
            std::size_t found = 0;
            for (std::size_t at = 0; (at = log.find("judge:", at)) != std::string::npos; ++at)
                ++found;
            return found;
        };
        while (judged() < count)
            std::this_thread::yield();
    }

    const LogCapture log_;
    Fates fates_;
    TestServer server_;
    std::optional<Listener> listener_;
};

// Outcomes

TEST_F(InterceptorTest, AFailedRequestHasTheErrorThatItsHandlerWouldGive) {
    auto client = webSocket();
    for (const auto code : {ReturnCode::InvalidParameter, ReturnCode::InvalidState, ReturnCode::OutOfMemory,
                            ReturnCode::NotSupported, ReturnCode::TimedOut, ReturnCode::GenericFailure}) {
        server_.on("second", [code](const Call& call) {
            try {
                throw Exception(code);
            } catch (const Exception& exception) {
                return IRPC::RPCErrorObject(call, exception.what()).serialize();
            }
        });
        fates_.set("Test::first", {.outcome = Fate::Failed, .code = code});
        const auto fromHandler = client.call(request("Test::second"));
        EXPECT_NE(fromHandler.find(R"("code":-32000)"), std::string::npos);
        EXPECT_EQ(client.call(request("Test::first")), fromHandler);
        EXPECT_EQ(connect().post("/rpc/Test", request("Test::first")).body, fromHandler);
    }
    EXPECT_EQ(fates_.takeLog().find("run:first"), std::string::npos);
}

TEST_F(InterceptorTest, AWebSocketGoesOnBehindALostReply) {
    fates_.set("Test::first", {.outcome = Fate::ReplyLost});
    fates_.set("Reader::second", {.outcome = Fate::RequestLost});
    auto client = webSocket();
    client.sendText(request("Test::first", 1));
    client.sendText(request("Reader::second", 2));
    client.sendText(request("Test::echo", 3));
    EXPECT_EQ(client.readFrame().payload, reply(3));
    EXPECT_EQ(fates_.takeLog(), "judge:Test::first run:first judge:Reader::second judge:Test::echo ");
}

TEST_F(InterceptorTest, APostThatGetsNoAnswerEnds) {
    fates_.set("Test::first", {.outcome = Fate::ReplyLost});
    fates_.set("Test::second", {.outcome = Fate::RequestLost});
    EXPECT_EQ(postAndRead(request("Test::first")), "");
    EXPECT_EQ(postAndRead(request("Test::second")), "");
    EXPECT_EQ(fates_.takeLog(), "judge:Test::first run:first judge:Test::second ");
    // Who wants no reply misses none.
    EXPECT_EQ(connect().post("/rpc/Test", R"({"jsonrpc":"2.0","method":"Test::first"})").status, 204);
}

TEST_F(InterceptorTest, OfABatchTheOtherRepliesArrive) {
    fates_.set("Test::first", {.outcome = Fate::ReplyLost});
    const auto lost = request("Test::first", 1);
    EXPECT_EQ(connect()
                  .post("/rpc/Test", '[' + lost + ',' + request("Test::echo", 2) + ',' +
                                         request("Reader::echo", 3) + ',' + lost + ']')
                  .body,
              '[' + reply(2) + ',' + reply(3) + ']');
    EXPECT_EQ(postAndRead('[' + lost + ',' + lost + ']'), "");
}

TEST_F(InterceptorTest, ALostConnectionEndsWithoutAGoodbyeOnceTheHandlerHasRun) {
    fates_.set("Test::first", {.outcome = Fate::ConnectionLost});
    auto other = webSocket();
    auto client = webSocket();
    client.sendText(request("Test::first"));
    EXPECT_EQ(client.readAll(), ""); // not even a close frame
    EXPECT_EQ(fates_.takeLog(), "judge:Test::first run:first ");
    EXPECT_EQ(postAndRead(request("Test::first")), "");
    // What stands behind it in a batch is not begun.
    fates_.takeLog();
    EXPECT_EQ(postAndRead('[' + request("Test::echo") + ',' + request("Test::first") + ',' +
                          request("Test::second") + ']'),
              "");
    EXPECT_EQ(fates_.takeLog(), "judge:Test::echo judge:Test::first run:first ");
    EXPECT_EQ(other.call(request("Test::second")), reply());
}

TEST_F(InterceptorTest, OnlyWhatHasAHandlerIsJudged) {
    fates_.set("rpc.discover", {.outcome = Fate::RequestLost});
    fates_.set("Test::nothing", {.outcome = Fate::RequestLost});
    fates_.set("Test::echo", {.outcome = Fate::RequestLost});
    auto client = webSocket();
    for (const auto& text : {request("rpc.discover"), request("Test::nothing"), request("No::echo"),
                             std::string("nonsense"), std::string(R"({"id":1,"method":"Test::echo"})")})
        EXPECT_NE(client.call(text), "") << text;
    EXPECT_EQ(fates_.takeLog(), "");
}

TEST_F(InterceptorTest, WithoutOneNothingHappens) {
    fates_.set("Test::echo", {.outcome = Fate::RequestLost});
    server_.setInterceptor(nullptr);
    EXPECT_EQ(webSocket().call(request("Test::echo")), reply());
    EXPECT_EQ(fates_.takeLog(), "");
}

// Delays

class DelayedOn : public InterceptorTest, public testing::WithParamInterface<std::string> {};

// With the turn and without, short and too long to be read at once.
TEST_P(DelayedOn, RepliesOfOneConnectionKeepTheirOrder) {
    constexpr auto delay = 20ms;
    fates_.set(GetParam(), {.delay = delay});
    auto client = webSocket();
    for (const std::string blanks : {"", "5000"}) {
        const auto begin = Clock::now();
        client.sendText(request(GetParam(), 1) + std::string(blanks.empty() ? 0 : 5000, ' '));
        client.sendText(request("Test::echo", 2));
        EXPECT_EQ(client.readFrame().payload, reply(1));
        EXPECT_GE(Clock::now() - begin, delay);
        EXPECT_EQ(client.readFrame().payload, reply(2));
        auto poster = connect();
        EXPECT_EQ(poster.post("/rpc/Test", request(GetParam(), 1)).body, reply(1));
        EXPECT_EQ(poster.post("/rpc/Test", request("Test::echo", 2)).body, reply(2));
    }
}

INSTANTIATE_TEST_SUITE_P(Lanes, DelayedOn, testing::Values("Test::first", "Reader::first"),
                         [](const auto& row) { return row.param.substr(0, row.param.find(':')); });

TEST_F(InterceptorTest, RequestsOfABatchAreDelayedOneAfterAnother) {
    constexpr auto delay = 10ms;
    fates_.set("Test::first", {.delay = delay});
    fates_.set("Reader::second", {.delay = delay});
    const auto begin = Clock::now();
    EXPECT_EQ(webSocket().call('[' + request("Test::first", 1) + ',' + request("Reader::second", 2) + ',' +
                               request("Test::first", 3) + ']'),
              '[' + reply(1) + ',' + reply(2) + ',' + reply(3) + ']');
    EXPECT_GE(Clock::now() - begin, 3 * delay);
    EXPECT_EQ(fates_.takeLog(),
              "judge:Test::first run:first judge:Reader::second run:second judge:Test::first run:first ");
}

TEST_F(InterceptorTest, WhatFailsOrIsLostIsDelayedToo) {
    constexpr auto delay = 10ms;
    auto client = webSocket();
    const auto begin = Clock::now();
    fates_.set("Test::first", {.delay = delay, .outcome = Fate::Failed, .code = ReturnCode::TimedOut});
    EXPECT_NE(client.call(request("Test::first")).find("Timed out"), std::string::npos);
    fates_.set("Test::first", {.delay = delay, .outcome = Fate::RequestLost});
    client.sendText(request("Test::first"));
    EXPECT_EQ(client.call(request("Test::echo", 2)), reply(2));
    EXPECT_GE(Clock::now() - begin, 2 * delay);
}

std::ptrdiff_t countThreads() {
    return std::distance(std::filesystem::directory_iterator("/proc/self/task"), {});
}

TEST_F(InterceptorTest, TwoHundredDelayedCallsHoldNoThreadAndNobodyUp) {
    constexpr std::size_t many = 200;
    fates_.set("Test::first", {.delay = 1h});
    fates_.set("Reader::first", {.delay = 1h});
    auto other = webSocket();
    EXPECT_EQ(other.call(request("Reader::echo")), reply());
    const auto threads = countThreads();
    std::vector<WireClient> delayed;
    for (std::size_t i = 0; i < many; ++i) {
        delayed.push_back(webSocket());
        delayed.back().sendText(request(i % 2 == 0 ? "Test::first" : "Reader::first"));
    }
    awaitJudged(many);
    for (int i = 0; i < 20; ++i) {
        EXPECT_EQ(other.call(request("Test::second")), reply());
        EXPECT_EQ(other.call(request("Reader::second")), reply());
    }
    EXPECT_EQ(countThreads(), threads);
    EXPECT_EQ(listener_->getStatus().connections, many + 1);
    EXPECT_EQ(fates_.takeLog().find("run:first"), std::string::npos);
}

TEST_F(InterceptorTest, AClientThatLeavesIsNoticedInItsDelay) {
    fates_.set("Test::first", {.delay = 1h});
    {
        auto webSocketClient = webSocket();
        webSocketClient.sendText(request("Test::first"));
        auto poster = connect();
        poster.send("POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
                    "Content-Length: " +
                    std::to_string(request("Test::first").size()) + "\r\n\r\n" + request("Test::first"));
        awaitJudged(2);
        poster.leave();
    }
    while (listener_->getStatus().connections > 0)
        std::this_thread::yield();
}

TEST_F(InterceptorTest, AStopEndsDelaysAtOnce) {
    fates_.set("Test::first", {.delay = 1h});
    std::thread poster([&] { EXPECT_EQ(postAndRead(request("Test::first")), ""); });
    std::thread reader([&] {
        auto client = webSocket();
        client.sendText(request("Test::first"));
        EXPECT_EQ(client.readFrame().closeCode(), 1001);
        client.sendFrame(8, std::string("\x03\xe9", 2));
        EXPECT_TRUE(client.isClosedByPeer());
    });
    awaitJudged(2);
    const auto begin = Clock::now();
    listener_->stop();
    const auto took = Clock::now() - begin;
    poster.join();
    reader.join();
    // One that waits for its client takes all the time of a farewell.
    listener_.emplace(std::vector{Address::parse("127.0.0.1:0")}, Admission({}, {}, ""));
    auto deaf = webSocket();
    const auto second = Clock::now();
    listener_->stop();
    EXPECT_LT(2 * took, Clock::now() - second);
}

// Notifications

TEST_F(InterceptorTest, LostNotificationsReachNobody) {
    fates_.setNotification("Test::lost", {.isLost = true});
    auto client = webSocket();
    client.call(request("Test::echo"));
    server_.handleRPCNotification("Test::lost", "{}");
    server_.handleRPCNotification("Test::kept", "{}");
    EXPECT_EQ(client.readFrame().payload, notification("Test::kept"));
}

TEST_F(InterceptorTest, DelayedNotificationsKeepTheirOrderAndRepliesOvertakeThem) {
    constexpr auto delay = 100ms;
    fates_.setNotification("Test::late", {.delay = delay});
    server_.on("first", [this](const Call& call) {
        server_.handleRPCNotification("Test::early", "{}");
        server_.handleRPCNotification("Test::late", "{}");
        server_.handleRPCNotification("Test::behind", "{}");
        return TestServer::echo(call);
    });
    auto client = webSocket();
    const auto begin = Clock::now();
    client.sendText(request("Test::first"));
    EXPECT_EQ(client.readFrame().payload, notification("Test::early"));
    EXPECT_EQ(client.readFrame().payload, reply());
    EXPECT_EQ(client.readFrame().payload, notification("Test::late"));
    EXPECT_GE(Clock::now() - begin, delay);
    EXPECT_EQ(client.readFrame().payload, notification("Test::behind"));
}

TEST_F(InterceptorTest, OnlySoManyNotificationsAreDelayed) {
    auto client = webSocket();
    client.call(request("Test::echo"));
    const auto raise = [&](std::size_t count) {
        for (std::size_t i = 0; i < count; ++i) {
            const auto name = "Test::" + std::to_string(i);
            fates_.setNotification(name, {.delay = 1h});
            server_.handleRPCNotification(name, "{}");
        }
    };
    raise(WebSocket::mostDelayed);
    EXPECT_EQ(client.call(request("Test::echo")), reply()); // all wait
    client.sendText(request("Test::echo", 2));
    EXPECT_EQ(client.readFrame().payload, reply(2));
    raise(1);
    EXPECT_EQ(client.readFrame().payload, notification("Test::0"));
    client.sendText(request("Test::echo", 3));
    EXPECT_EQ(client.readFrame().payload, reply(3));
}

TEST_F(InterceptorTest, DelayedNotificationsOfAClientThatHasLeftAreGivenBack) {
    fates_.setNotification("Test::late", {.delay = 1h});
    {
        auto client = webSocket();
        client.call(request("Test::echo"));
        server_.handleRPCNotification("Test::late", "{}");
        client.call(request("Test::echo")); // it waits
        EXPECT_GT(RPCNotification::getCostOfAll(), 0u);
    }
    while (RPCNotification::getCostOfAll() > 0)
        std::this_thread::yield();
}

} // namespace
} // namespace Ostrel::Test
