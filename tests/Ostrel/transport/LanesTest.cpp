#include "Ostrel/transport/Lanes.h"

#include "Ostrel/rpc/RPCInterceptor.h"
#include "Ostrel/runtime/Cancellation.h"
#include "Ostrel/runtime/Turn.h"
#include "tests/support/TestServer.h"

#include <gtest/gtest.h>

#include <future>
#include <optional>
#include <string>
#include <vector>

namespace Ostrel::Test {
namespace {

using namespace std::chrono_literals;
using Call = IRPC::RPCSynchronousMethodObject;
using Clock = Lanes::Client::Clock;

std::string request(const std::string& method, const std::string& params = "{}") {
    return R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":)" + params + '}';
}

std::string longParams() {
    return R"({"a":")" + std::string(RPCMessage::smallText, 'x') + R"("})";
}

/// Lanes with one thread for dear requests, the one for quick ones, and that of the turn.
struct LanesTest : testing::Test {
    using Client = std::shared_ptr<Lanes::Client>;

    /// A client that has used so much time of late.
    static Client makeClient(std::chrono::milliseconds used) {
        const auto now = Clock::now();
        auto client = std::make_shared<Lanes::Client>(std::make_shared<RPCPeer>(), now - 1h);
        client->charge(used, now);
        return client;
    }

    /// Carries a message out elsewhere; the future is the reply.
    std::future<std::string> carryOut(const Client& client, const std::string& text,
                                      const RPCMessage::Limits& limits = {}) {
        auto reply = std::make_shared<std::promise<std::string>>();
        auto message = lanes.begin(text, server, *client, limits);
        if (message->isDone())
            reply->set_value(message->takeReply().text);
        else
            lanes.finish(std::move(message), client,
                         [reply](RPCMessage::Reply got) { reply->set_value(std::move(got.text)); });
        return reply->get_future();
    }

    /// Keeps the thread for dear requests busy until the gate opens.
    std::future<std::string> occupy() {
        auto reply = carryOut(makeClient(1s), request("Reader::second"));
        occupied.get_future().wait();
        return reply;
    }

    LanesTest() {
        server.on("second", [this](const Call& call) {
            occupied.set_value();
            gate.get_future().wait();
            return TestServer::echo(call);
        });
        server.on("first", [this](const Call& call) {
            const std::lock_guard lock(orderMutex);
            order += call.getParameters();
            return TestServer::echo(call);
        });
    }

    std::promise<void> occupied;
    std::promise<void> gate;
    std::mutex orderMutex;
    std::string order; ///< the params of what "first" was asked for
    TestServer server;
    Lanes lanes{1};
};

TEST(LanesClientTest, WhatWasUsedFades) {
    const auto begin = Clock::now();
    Lanes::Client client(nullptr, begin - 1h);
    client.charge(160ms, begin);
    EXPECT_FALSE(client.isQuick(begin));
    EXPECT_TRUE(client.isQuick(begin + 10s));
}

TEST(LanesClientTest, WhoHasJustComeHasNotShownToBeQuick) {
    const auto begin = Clock::now();
    const Lanes::Client client(nullptr, begin);
    EXPECT_FALSE(client.isQuick(begin));
    EXPECT_TRUE(client.isQuick(begin + 2s));
}

TEST(LanesClientTest, UrgenciesCompareWheneverTheyWereMade) {
    const auto begin = Clock::now();
    Lanes::Client early(nullptr, begin - 1h);
    Lanes::Client late(nullptr, begin - 1h);
    early.charge(800ms, begin);
    late.charge(300ms, begin + 10s);
    EXPECT_GT(early.getUrgency(), late.getUrgency()); // 400 ms are left of the 800
    late.charge(200ms, begin + 10s);
    EXPECT_LT(early.getUrgency(), late.getUrgency());
}

TEST_F(LanesTest, WhoHasUsedLeastGoesFirst) {
    auto busy = occupy();
    auto last = carryOut(makeClient(900ms), request("Reader::first", R"({"a":3})"));
    auto middle = carryOut(makeClient(500ms), request("Reader::first", R"({"a":2})"));
    auto first = carryOut(makeClient(200ms), request("Reader::first", R"({"a":1})"));
    gate.set_value();
    last.wait();
    EXPECT_EQ(order, R"({"a":1}{"a":2}{"a":3})");
}

TEST_F(LanesTest, OneThreadIsKeptForQuickClients) {
    auto busy = occupy();
    auto dear = carryOut(makeClient(900ms), request("Reader::first"));
    EXPECT_EQ(carryOut(makeClient(0ms), request("Reader::echo")).get(),
              R"({"jsonrpc":"2.0","id":1,"result":"{}"})");
    EXPECT_EQ(order, "");
    gate.set_value();
    dear.wait();
}

TEST_F(LanesTest, ABatchGivesWayAfterEachOfItsRequests) {
    // The batch's first request is dear, so that who comes meanwhile has used less.
    auto batch = carryOut(makeClient(1s), '[' + request("Reader::second") + ',' +
                                              request("Reader::first", R"({"batch":1})") + ']');
    occupied.get_future().wait();
    auto other = carryOut(makeClient(500ms), request("Reader::first", R"({"other":1})"));
    gate.set_value();
    batch.wait();
    EXPECT_EQ(order, R"({"other":1}{"batch":1})");
}

TEST_F(LanesTest, WhoHasALargeReplyInTheMakingEndsItBeforeOthersBegin) {
    const auto large = TestServer::answerOfSize(70u << 20);
    server.on("second", [this, large](const Call& call) {
        occupied.set_value();
        gate.get_future().wait();
        return large(call);
    });
    auto batch =
        carryOut(makeClient(1s),
                 '[' + request("Reader::second") + ',' + request("Reader::first", R"({"large":1})") + ']',
                 {1u << 30, 100});
    occupied.get_future().wait();
    // It has used less and would go first.
    auto other = carryOut(makeClient(500ms), request("Reader::first", R"({"other":1})"));
    gate.set_value();
    other.wait();
    batch.wait();
    EXPECT_EQ(order, R"({"large":1}{"other":1})");
}

TEST_F(LanesTest, AQuickRequestIsDoneHereWhileOthersAreBusy) {
    auto busy = occupy();
    std::optional<std::thread::id> where;
    server.on("first", [&](const Call& call) {
        where = std::this_thread::get_id();
        return TestServer::echo(call);
    });
    carryOut(makeClient(0ms), request("Test::first")).wait();
    EXPECT_EQ(where, std::this_thread::get_id());
    gate.set_value();
}

TEST_F(LanesTest, NothingIsDoneHereThatNeedsATurnThatIsTaken) {
    std::optional<std::thread::id> where;
    server.on("first", [&](const Call& call) {
        where = std::this_thread::get_id();
        return TestServer::echo(call);
    });
    Turn::take();
    auto reply = carryOut(makeClient(0ms), request("Test::first"));
    Turn::give();
    reply.wait();
    EXPECT_NE(where, std::this_thread::get_id());
}

TEST_F(LanesTest, NothingLongIsReadHere) {
    std::optional<std::thread::id> where;
    server.on("first", [&](const Call& call) {
        where = std::this_thread::get_id();
        return TestServer::echo(call);
    });
    // Neither a long text, which is read elsewhere even when it is wrong, nor long params in a batch.
    EXPECT_FALSE(
        lanes.begin(std::string(RPCMessage::smallText + 1, 'x'), server, *makeClient(0ms), {})->isDone());
    carryOut(makeClient(0ms), request("Test::first", longParams())).wait();
    EXPECT_NE(where, std::this_thread::get_id());
}

TEST_F(LanesTest, ABriefReadIsDoneHere) {
    server.letBeBrief("Reader");
    std::vector<std::thread::id> where;
    server.on("first", [&](const Call& call) {
        where.push_back(std::this_thread::get_id());
        Cancellation::check();
        return TestServer::echo(call);
    });
    server.on("second", [&](const Call& call) {
        where.push_back(std::this_thread::get_id());
        return TestServer::echo(call);
    });
    const auto here = std::this_thread::get_id();
    const auto client = makeClient(0ms);
    EXPECT_EQ(carryOut(client, request("Reader::second")).get(), R"({"jsonrpc":"2.0","id":1,"result":"{}"})");
    ASSERT_EQ(where, std::vector{here});

    // One that goes on for long is left, and begun anew elsewhere.
    client->setTried(true);
    EXPECT_EQ(carryOut(client, request("Reader::first")).get(), R"({"jsonrpc":"2.0","id":1,"result":"{}"})");
    ASSERT_EQ(where.size(), 3u);
    EXPECT_EQ(where[1], here);
    EXPECT_NE(where[2], here);

    // The next one is not tried here.
    lanes.stop(); // which has seen to the last
    client->setTried(false);
    EXPECT_FALSE(lanes.begin(request("Reader::second"), server, *client, {})->isDone());
    EXPECT_EQ(where.size(), 3u);
}

TEST_F(LanesTest, WhatMayWaitHoldsUpNeitherTheCallerNorTheTurn) {
    server.letWait("Test::second");
    server.on("second", [this](const Call& call) {
        const Turn::Pause pause;
        occupied.set_value();
        gate.get_future().wait();
        return TestServer::echo(call);
    });
    auto waiting = carryOut(makeClient(0ms), request("Test::second"));
    occupied.get_future().wait();
    // Both that of the turn's thread and the caller's own hang where the one who waits holds them up.
    Turn::take();
    auto queued = carryOut(makeClient(0ms), request("Test::echo"));
    Turn::give();
    queued.wait();
    EXPECT_TRUE(lanes.begin(request("Test::echo"), server, *makeClient(0ms), {})->isDone());
    gate.set_value();
    waiting.wait();
}

TEST_F(LanesTest, NothingBeginsForAClientThatHasLeft) {
    auto busy = occupy();
    const auto client = makeClient(900ms);
    auto dropped = carryOut(client, request("Reader::first", R"({"dropped":1})"));
    auto kept = carryOut(makeClient(950ms), request("Reader::first", R"({"kept":1})"));
    lanes.leave(*client);
    // Its promise went with the message.
    EXPECT_THROW(dropped.get(), std::future_error);
    gate.set_value();
    kept.wait();
    EXPECT_EQ(order, R"({"kept":1})");
}

TEST_F(LanesTest, WhatIsUnderWayForAClientThatHasLeftCanNotice) {
    server.on("second", [this](const Call&) -> std::string {
        occupied.set_value();
        for (;;)
            Cancellation::check();
    });
    const auto client = makeClient(900ms);
    auto reply = carryOut(client, '[' + request("Reader::second") + ',' + request("Reader::first") + ']');
    occupied.get_future().wait();
    lanes.leave(*client);
    EXPECT_THROW(reply.get(), std::future_error);
    EXPECT_EQ(order, "");
}

/// Delays every request of "first".
struct DelayTest : LanesTest, RPCInterceptor {
    DelayTest() { server.setInterceptor(this); }
    ~DelayTest() override { lanes.stop(); } // nobody is asked any more

    RequestFate judgeRequest(std::string_view name) noexcept override {
        return {.delay = name.ends_with("first") ? delay.load() : 0ms};
    }
    NotificationFate judgeNotification(std::string_view) noexcept override { return {}; }

    std::atomic<std::chrono::milliseconds> delay{1h};
};

TEST_F(DelayTest, NothingIsLeftOfAMessageWhoseClientLeavesInItsDelay) {
    const auto client = makeClient(0ms);
    for (const auto* method : {"Test::first", "Reader::first"}) {
        auto dropped = carryOut(client, request(method));
        EXPECT_TRUE(lanes.isDelayed(*client));
        lanes.leave(*client);
        EXPECT_FALSE(lanes.isDelayed(*client));
        EXPECT_THROW(dropped.get(), std::future_error);
    }
    EXPECT_EQ(order, "");
}

TEST_F(DelayTest, WhoComesLaterMayBeDueEarlier) {
    auto never = carryOut(makeClient(0ms), request("Reader::first"));
    delay = 10ms;
    carryOut(makeClient(900ms), request("Reader::first", R"({"sooner":1})")).wait();
    EXPECT_EQ(order, R"({"sooner":1})");
}

TEST_F(DelayTest, ADelayEndsWhileAnotherThreadIsBusy) {
    delay = 5ms;
    auto delayed = carryOut(makeClient(0ms), request("Reader::first"));
    auto busy = occupy();
    delayed.wait();
    gate.set_value();
}

TEST_F(DelayTest, ADelayIsNotChargedToItsClient) {
    delay = 50ms;
    const auto client = makeClient(0ms);
    const auto half = makeClient(delay.load() / 2);
    carryOut(client, request("Test::first")).wait();
    lanes.stop(); // it has been charged
    EXPECT_LT(client->getUrgency(), half->getUrgency());
}

TEST_F(DelayTest, AStopDropsWhatIsDelayed) {
    auto dropped = [&] {
        Lanes own{1};
        auto reply = std::make_shared<std::promise<std::string>>();
        auto future = reply->get_future();
        const auto client = makeClient(0ms);
        auto message = own.begin(request("Test::first"), server, *client, {});
        EXPECT_FALSE(message->isDone());
        own.finish(std::move(message), client, [reply = std::move(reply)](const RPCMessage::Reply&) {});
        return future;
    }();
    EXPECT_THROW(dropped.get(), std::future_error);
}

TEST_F(LanesTest, ChoresAreDoneElsewhere) {
    std::promise<std::thread::id> where;
    lanes.post([&] { where.set_value(std::this_thread::get_id()); });
    EXPECT_NE(where.get_future().get(), std::this_thread::get_id());
}

TEST_F(LanesTest, AStopBeginsNothingMore) {
    auto busy = occupy();
    auto batch = carryOut(makeClient(2s), '[' + request("Reader::first") + ']');
    lanes.beginStop();
    gate.set_value();
    lanes.stop();
    EXPECT_EQ(busy.wait_for(0s), std::future_status::ready);
    EXPECT_EQ(order, "");
}

} // namespace
} // namespace Ostrel::Test
