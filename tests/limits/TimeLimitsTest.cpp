// Each time that a client has, and that the others do not end it. The times are shorter here; what
// they are by default is a matter of WireTablesTest.

#include "Ostrel/transport/Listener.h"

#include "tests/limits/FromOutside.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TestServer.h"
#include "tests/support/WireClient.h"

#include <gtest/gtest.h>

#include <chrono>
#include <optional>
#include <string>
#include <thread>

namespace Ostrel::Test {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds given{400};

class TimeLimits : public testing::Test {
protected:
    /// Has one time run out soon, and all others never.
    void listen(std::chrono::milliseconds Limits::*limit) {
        Limits limits;
        for (auto* const each : {&limits.headTime, &limits.bodyTime, &limits.keepAlive, &limits.stalledReader,
                                 &limits.idleWebSocket, &limits.closing})
            *each = std::chrono::hours(1);
        limits.*limit = given;
        listener_.emplace(std::vector{Address::parse("127.0.0.1:0")}, Admission({}, {}, ""),
                          ListenerOptions{.limits = limits});
    }

    WireClient connect() const { return WireClient(listener_->getAddresses().front()); }

    /// Whoever waits for this test to end finds that out.
    static void expectClosed(WireClient& client, Clock::time_point since) {
        EXPECT_EQ(client.readAll(), "");
        EXPECT_GE(Clock::now() - since, given);
    }

    const LogCapture log_;
    TestServer server_;
    std::optional<Listener> listener_;
};

TEST_F(TimeLimits, OfAHead) {
    listen(&Limits::headTime);
    for (const std::string part : {"", "GET /healthz HTTP/1.1\r\nHost: localhost\r\n"}) {
        const auto since = Clock::now();
        auto client = connect();
        client.send(part);
        expectClosed(client, since);
    }
    // A byte now and then does not help.
    const auto since = Clock::now();
    auto client = connect();
    while (!client.hasInput(std::chrono::milliseconds(20)) && client.sendSome("x") == 1) {
    }
    EXPECT_GE(Clock::now() - since, given);
}

TEST_F(TimeLimits, OfABody) {
    listen(&Limits::bodyTime);
    const auto since = Clock::now();
    auto client = connect();
    client.send("POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nContent-Length: 10\r\n\r\n12345");
    expectClosed(client, since);
}

TEST_F(TimeLimits, OfAConnectionKept) {
    listen(&Limits::keepAlive);
    auto client = connect();
    client.send("GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n");
    const auto since = Clock::now();
    EXPECT_EQ(client.readAnswer().status, 200);
    expectClosed(client, since);
}

TEST_F(TimeLimits, OfAWebSocket) {
    listen(&Limits::idleWebSocket);
    const auto since = Clock::now();
    auto client = connect();
    client.upgrade("/rpc/Test");
    EXPECT_EQ(client.readFrame().opcode, 9);
    EXPECT_GE(Clock::now() - since, given / 2);
    expectClosed(client, since);
}

TEST_F(TimeLimits, OfAReader) {
    listen(&Limits::stalledReader);
    server_.on("first", TestServer::answerOfSize(20'000'000));
    const auto since = Clock::now();
    auto client = connect();
    client.send(post("/rpc/Test", request("Test::first")));
    while (listener_->getStatus().connections == 0 || listener_->getStatus().waiting == 0)
        std::this_thread::yield();
    while (listener_->getStatus().connections > 0)
        std::this_thread::yield();
    EXPECT_GE(Clock::now() - since, given);
    EXPECT_EQ(listener_->getStatus().waiting, 0U);
}

} // namespace
} // namespace Ostrel::Test
