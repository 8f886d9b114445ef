// What the page /metrics says, asked for over a socket, is what has happened.

#include "Ostrel/rpc/Exception.h"
#include "Ostrel/runtime/Mutex.h"
#include "Ostrel/runtime/Task.h"
#include "Ostrel/transport/Listener.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Scrape.h"
#include "tests/support/TestServer.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <future>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

namespace Ostrel::Test {
namespace {

using namespace std::chrono_literals;
using Call = IRPC::RPCSynchronousMethodObject;

const std::string token(40, 't');
const std::string bearer = "Authorization: Bearer " + token + "\r\n";

std::string request(const std::string& method, const std::string& params = "{}") {
    return R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":)" + params + '}';
}

std::string get(const std::string& path, const std::string& headers = {}, const std::string& method = "GET") {
    return method + ' ' + path + " HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n";
}

class MetricsTest : public testing::Test {
protected:
    void listen(const Limits& limits = {}, const std::string& wanted = {}) {
        token_ = wanted;
        listener_.emplace(std::vector{Address::parse("127.0.0.1:0")}, Admission({}, {}, wanted),
                          ListenerOptions{.limits = limits});
    }

    const Address& address() const { return listener_->getAddresses().front(); }
    WireClient connect() const { return WireClient(address()); }

    WireClient webSocket() const {
        auto client = connect();
        client.upgrade("/rpc/Test");
        return client;
    }

    Series scrape() const { return scrapeMetrics(address(), token_.empty() ? "" : bearer); }

    /// Asks until the page says so; by then it has to say nothing else.
    Series awaitMetrics(const std::function<bool(Series&)>& says) const {
        for (;;) {
            auto series = scrape();
            if (says(series))
                return series;
        }
    }

    /// Sends it on a connection of its own and returns all that comes back.
    std::string exchange(const std::string& text) const {
        auto client = connect();
        client.send(text);
        client.shutdownSend();
        return client.readAll();
    }

    const LogCapture log_;
    TestServer server_;
    std::string token_;
    std::optional<Listener> listener_;
    std::vector<WireClient> held_; ///< clients that stay until the end
};

TEST_F(MetricsTest, IsReadLikeEveryOtherPage) {
    listen();
    const auto answer = exchange(get("/metrics", "Connection: close\r\n"));
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 200 OK\r\n"));
    EXPECT_NE(answer.find("Content-Type: text/plain; version=0.0.4; charset=utf-8\r\n"), std::string::npos);
    EXPECT_NE(answer.find("\r\n\r\n# HELP ostrel_"), std::string::npos);
    EXPECT_TRUE(exchange(get("/metrics?a=b")).starts_with("HTTP/1.1 200"));

    const auto head = exchange(get("/metrics", "Connection: close\r\n", "HEAD"));
    EXPECT_TRUE(head.starts_with("HTTP/1.1 200 OK\r\n"));
    EXPECT_TRUE(head.ends_with("\r\n\r\n"));
    for (const auto* method : {"POST", "PUT", "DELETE", "OPTIONS"})
        EXPECT_NE(exchange(get("/metrics", "Content-Length: 0\r\n", method)).find("\r\nAllow: GET, HEAD\r\n"),
                  std::string::npos)
            << method;
    EXPECT_TRUE(exchange("GET /metrics HTTP/1.1\r\nHost: evil.example\r\n\r\n").starts_with("HTTP/1.1 403"));
}

TEST_F(MetricsTest, NeedsTheToken) {
    listen({}, token);
    EXPECT_TRUE(exchange(get("/metrics")).starts_with("HTTP/1.1 401"));
    EXPECT_TRUE(exchange(get("/metrics", "Authorization: Bearer t\r\n")).starts_with("HTTP/1.1 401"));
    EXPECT_TRUE(exchange(get("/metrics", bearer)).starts_with("HTTP/1.1 200"));
}

// Whoever is refused, held up or cut off is counted, once and nowhere else.

struct Row {
    const char* name;
    const char* series;
    Limits limits;
    /// Makes it happen, once.
    std::function<void(MetricsTest&)> happen;
    const char* token = ""; ///< that clients need
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.name;
}

class LimitCountTest : public MetricsTest, public testing::WithParamInterface<Row> {
public:
    using MetricsTest::address;
    using MetricsTest::connect;
    using MetricsTest::exchange;
    using MetricsTest::held_;
    using MetricsTest::server_;
    using MetricsTest::webSocket;

    void awaitNobody() const {
        while (listener_->getStatus().connections > 0)
            std::this_thread::yield();
    }
};

LimitCountTest& access(MetricsTest& test) {
    return static_cast<LimitCountTest&>(test);
}

template <class Change> Limits with(Change change) {
    Limits limits;
    change(limits);
    return limits;
}

auto sends(std::string text) {
    return [text = std::move(text)](MetricsTest& test) { access(test).exchange(text); };
}

/// Sends that and neither reads nor leaves.
auto sendsAndStays(std::string text) {
    return [text = std::move(text)](MetricsTest& test) {
        access(test).held_.push_back(access(test).connect());
        access(test).held_.back().send(text);
    };
}

auto sendsFrames(std::string frames) {
    return [frames = std::move(frames)](MetricsTest& test) {
        auto client = access(test).webSocket();
        client.send(frames);
        client.readFrame();
    };
}

/// Is sent so much, and reads nothing.
void doesNotRead(MetricsTest& test) {
    access(test).server_.on("first", TestServer::answerOfSize(20'000'000));
    access(test).held_.push_back(access(test).webSocket());
    access(test).held_.back().sendText(request("Test::first"));
}

void isToldMuch(MetricsTest& test) {
    access(test).held_.push_back(access(test).webSocket());
    access(test).held_.back().call(request("Test::echo")); // has subscribed
    for (int i = 0; i < 200; ++i)
        access(test).server_.handleRPCNotification("Test::much", '"' + std::string(100'000, 'x') + '"');
}

void raisesAStorm(MetricsTest& test) {
    auto& server = access(test).server_;
    server.on("first", [&server](const Call& call) {
        for (int i = 0; i < 200; ++i)
            server.handleRPCNotification("Test::noise", "{}");
        return TestServer::echo(call);
    });
    access(test).webSocket().call(request("Test::first"));
}

/// A message that is being carried out leaves no room for another.
void sendsTwoMessages(MetricsTest& test) {
    std::promise<void> entered;
    std::promise<void> over;
    access(test).server_.on("first", [&](const Call& call) {
        entered.set_value();
        over.get_future().wait_for(30s);
        return TestServer::echo(call);
    });
    const auto large = [](const std::string& method) {
        const auto text = request(method);
        return frame(1, text + std::string(200'000 - text.size(), ' '));
    };
    auto first = access(test).webSocket();
    first.send(large("Test::first"));
    entered.get_future().wait();
    auto second = access(test).webSocket();
    second.send(large("Test::echo"));
    while (scrapeMetrics(access(test).address())[R"(ostrel_held_up_total{reason="messages"})"] == 0) {
    }
    over.set_value();
    first.readFrame();
    second.readFrame();
}

/// Three where two may be, who leave.
void comesInOnceTooOften(MetricsTest& test) {
    access(test).awaitNobody();
    {
        auto first = access(test).webSocket();
        auto second = access(test).webSocket();
        EXPECT_EQ(access(test).connect().readAnswer().status, 503);
    }
    access(test).awaitNobody();
}

void spawnsTooManyTasks(MetricsTest&) {
    std::promise<void> over;
    auto wait = over.get_future().share();
    const auto body = [](void* until) {
        static_cast<std::shared_future<void>*>(until)->wait();
        return 0;
    };
    // The first has the turn, and the others wait for it.
    for (unsigned i = 0; i < taskLimit; ++i)
        EXPECT_NE(OS_TaskSpawnParam("many", 128, 0, body, &wait, 0), nullptr);
    EXPECT_EQ(OS_TaskSpawnParam("one more", 128, 0, body, &wait, 0), nullptr);
    over.set_value();
    stopTasks();
}

const std::string jsonPost =
    "POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n";

std::string batchOf(int count) {
    std::string batch = "[" + request("Test::echo");
    for (int i = 1; i < count; ++i)
        batch += ',' + request("Test::echo");
    return batch + ']';
}

// clang-format off
const Row rows[] = {
    {"Host", R"(ostrel_refusals_total{reason="host"})", {}, sends("GET /rpc/Test HTTP/1.1\r\nHost: evil.example\r\n\r\n")},
    {"Origin", R"(ostrel_refusals_total{reason="origin"})", {}, sends(get("/rpc/Test", "Origin: https://evil.example\r\n"))},
    {"Token", R"(ostrel_refusals_total{reason="token"})", {}, sends(get("/rpc/Test")), token.c_str()},
    {"Connections", R"(ostrel_refusals_total{reason="connections"})", with([](auto& limits) { limits.connections = 2; }), comesInOnceTooOften},
    {"Tasks", R"(ostrel_refusals_total{reason="tasks"})", {}, spawnsTooManyTasks},
    {"Batch", R"(ostrel_refusals_total{reason="batch"})", {}, sendsFrames(frame(1, batchOf(101)))},
    {"LongHead", R"(ostrel_refusals_total{reason="head_too_long"})", {}, sends(get("/healthz", "X: " + std::string(17'000, 'x') + "\r\n"))},
    {"LongBody", R"(ostrel_refusals_total{reason="body_too_long"})", {}, sends(jsonPost + "Content-Length: 1048577\r\n\r\n")},
    {"Malformed", R"(ostrel_refusals_total{reason="malformed"})", {}, sends("nonsense\r\n\r\n")},
    {"TwoHosts", R"(ostrel_refusals_total{reason="malformed"})", {}, sends("GET /healthz HTTP/1.1\r\nHost: localhost\r\nHost: localhost\r\n\r\n")},

    {"LongMessage", R"(ostrel_connections_cut_off_total{reason="message_too_long"})", with([](auto& limits) { limits.message = 1000; }), sendsFrames(frame(1, std::string(1001, ' ')))},
    {"Binary", R"(ostrel_connections_cut_off_total{reason="binary"})", {}, sendsFrames(frame(2, "{}"))},
    {"BadText", R"(ostrel_connections_cut_off_total{reason="bad_utf8"})", {}, sendsFrames(frame(1, "\"\xff\""))},
    {"HalfACharacter", R"(ostrel_connections_cut_off_total{reason="bad_utf8"})", {}, sendsFrames('\x01' + frame(1, "\xc3").substr(1) + frame(0, ""))},
    {"Unmasked", R"(ostrel_connections_cut_off_total{reason="bad_frame"})", {}, sendsFrames(std::string("\x81\x02{}", 4))},
    {"HeadTime", R"(ostrel_connections_cut_off_total{reason="head_time"})", with([](auto& limits) { limits.headTime = 300ms; }), sendsAndStays("GET /healthz HTT")},
    {"BodyTime", R"(ostrel_connections_cut_off_total{reason="body_time"})", with([](auto& limits) { limits.bodyTime = 300ms; }), sendsAndStays(jsonPost + "Content-Length: 10\r\n\r\n12345")},
    {"Idle", R"(ostrel_connections_cut_off_total{reason="idle"})", with([](auto& limits) { limits.keepAlive = 300ms; }), sendsAndStays(get("/healthz"))},
    {"ClosingTime", R"(ostrel_connections_cut_off_total{reason="closing_time"})", with([](auto& limits) { limits.closing = 300ms; }), sendsAndStays(get("/healthz", "Connection: close\r\n"))},
    {"Ping", R"(ostrel_connections_cut_off_total{reason="ping"})", with([](auto& limits) { limits.idleWebSocket = 400ms; }), sendsAndStays(upgradeRequest("/rpc/Test"))},
    {"Stalled", R"(ostrel_connections_cut_off_total{reason="stalled_reader"})", with([](auto& limits) { limits.stalledReader = limits.closing = 300ms; }), doesNotRead},
    {"Waiting", R"(ostrel_connections_cut_off_total{reason="waiting"})", with([](auto& limits) { limits.waiting = 4u << 20; limits.closing = 300ms; }), isToldMuch},
    {"WaitingTogether", R"(ostrel_connections_cut_off_total{reason="waiting_together"})", with([](auto& limits) { limits.waitingTogether = 4u << 20; limits.closing = 300ms; }), isToldMuch},

    {"Messages", R"(ostrel_held_up_total{reason="messages"})", with([](auto& limits) { limits.message = limits.messagesTogether = 200'000; }), sendsTwoMessages},
    {"Notifications", R"(ostrel_held_up_total{reason="notifications"})", with([](auto& limits) { limits.notifications = 100; }), raisesAStorm},
};
// clang-format on

TEST_P(LimitCountTest, CountsOnceAndNowhereElse) {
    listen(GetParam().limits, GetParam().token);
    const auto before = scrape();
    ASSERT_TRUE(before.contains(GetParam().series));
    GetParam().happen(*this);
    const auto after = awaitMetrics(
        [&](Series& series) { return series[GetParam().series] > before.at(GetParam().series); });
    const auto& limits = GetParam().limits;
    for (const auto& [series, value] : before) {
        const bool isLimit = series.starts_with("ostrel_refusals") || series.starts_with("ostrel_held_up") ||
                             series.starts_with("ostrel_connections_cut");
        if (isLimit) {
            const bool isIt = series == GetParam().series;
            // Where it is a question of time, whoever asks may have been too slow as well.
            if (isIt && (limits.headTime < 1s || limits.keepAlive < 1s))
                EXPECT_GE(after.at(series) - value, 1) << series;
            else
                EXPECT_EQ(after.at(series) - value, isIt ? 1 : 0) << series;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, LimitCountTest, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(MetricsTest, WhoeverCameByAnOldTokenIsCounted) {
    listen({}, token);
    const auto series = R"(ostrel_connections_cut_off_total{reason="token_changed"})";
    const auto before = scrape();
    auto client = connect();
    client.send(get("/healthz"));
    client.readAnswer();
    const std::string other(40, 'o');
    listener_->setToken(other);
    EXPECT_EQ(client.readAll(), "");
    // Whoever has asked before may still have been there.
    EXPECT_GE(scrapeMetrics(address(), "Authorization: Bearer " + other + "\r\n").at(series) -
                  before.at(series),
              1);
}

// What there is

TEST_F(MetricsTest, ConnectionsCountByWhatTheyAre) {
    listen();
    const auto before = scrape();
    const auto http = R"(ostrel_connections{kind="http"})";
    const auto webSockets = R"(ostrel_connections{kind="websocket"})";
    {
        auto first = webSocket();
        auto second = webSocket();
        auto third = connect();
        third.send(get("/healthz"));
        third.readAnswer();
        auto now = awaitMetrics([&](Series& series) { return series[http] == 2; });
        EXPECT_EQ(now[webSockets], 2);
        // The four clients here, and whoever has asked so far: one for each page.
        EXPECT_GE(now[R"(ostrel_connections_opened_total{kind="http"})"] -
                      before.at(R"(ostrel_connections_opened_total{kind="http"})"),
                  4);
        EXPECT_EQ(now[R"(ostrel_connections_opened_total{kind="websocket"})"] -
                      before.at(R"(ostrel_connections_opened_total{kind="websocket"})"),
                  2);
    }
    awaitMetrics([&](Series& series) { return series[webSockets] == 0 && series[http] == 1; });
}

TEST_F(MetricsTest, WhatWaitsIsThereUntilItIsTaken) {
    listen(with([](auto& limits) { limits.outbox = limits.waiting; }));
    const auto answers = R"(ostrel_waiting_bytes{what="answers"})";
    const auto notifications = R"(ostrel_waiting_bytes{what="notifications"})";
    server_.on("first", TestServer::answerOfSize(20'000'000));
    auto client = webSocket();
    client.sendText(request("Test::first"));
    awaitMetrics([&](Series& series) { return series[answers] > 10'000'000; });
    server_.handleRPCNotification("Test::much", '"' + std::string(100'000, 'x') + '"');
    awaitMetrics([&](Series& series) { return series[notifications] > 100'000; });
    client.readFrame();
    client.readFrame();
    awaitMetrics([&](Series& series) { return series[answers] < 10'000 && series[notifications] == 0; });
}

TEST_F(MetricsTest, NotificationsCountAsRaisedOnceAndAsSentToEach) {
    listen();
    const auto raised = "ostrel_notifications_raised_total";
    const auto sent = "ostrel_notifications_sent_total";
    auto before = scrape();
    server_.handleRPCNotification("Test::alone", "{}");
    auto first = webSocket();
    auto second = webSocket();
    first.call(request("Test::echo"));
    second.call(request("Test::echo")); // both have subscribed
    server_.handleRPCNotification("Test::heard", "{}");
    auto after = scrape();
    EXPECT_EQ(after[raised] - before[raised], 2);
    EXPECT_EQ(after[sent] - before[sent], 2);
}

TEST_F(MetricsTest, LocksThatAHandlerLeavesAreCounted) {
    listen();
    auto before = scrape();
    Mutex left("left");
    server_.on("first", [&](const Call& call) OSTREL_NO_THREAD_SAFETY_ANALYSIS {
        left.lock();
        return TestServer::echo(call);
    });
    webSocket().call(request("Test::first"));
    EXPECT_EQ(scrape()["ostrel_locks_released_total"] - before["ostrel_locks_released_total"], 1);
}

TEST_F(MetricsTest, TasksCountWhileTheyLive) {
    listen();
    ASSERT_EQ(scrape()["ostrel_tasks"], 0);
    const auto sleep = [](void*) {
        OS_TaskDelayMsec(3'600'000);
        return 0;
    };
    OS_TaskSpawnParam("one", 128, 0, sleep, nullptr, 0);
    OS_TaskSpawnParam("two", 128, 0, sleep, nullptr, 0);
    EXPECT_EQ(scrape()["ostrel_tasks"], 2);
    stopTasks();
    EXPECT_EQ(scrape()["ostrel_tasks"], 0);
}

TEST_F(MetricsTest, TellsWhatItIsAndSinceWhen) {
    listen();
    const auto page = exchange(get("/metrics", "Connection: close\r\n"));
    EXPECT_NE(page.find("ostrel_build_info{version=\""), std::string::npos);
    const auto now = std::chrono::system_clock::now().time_since_epoch() / 1s;
    const auto began = scrape()["ostrel_process_start_time_seconds"];
    EXPECT_LE(began, double(now));
    EXPECT_GT(began, double(now) - 24 * 3600);
}

// Requests

std::string requests(const std::string& method, const std::string& outcome) {
    return R"(ostrel_requests_total{server="Test",method=")" + method + R"(",outcome=")" + outcome + "\"}";
}

std::string timed(const std::string& method) {
    return R"(ostrel_request_duration_seconds_count{server="Test",method=")" + method + "\"}";
}

TEST_F(MetricsTest, RequestsCountByMethodAndOutcome) {
    listen();
    server_.on("first", [](const Call& call) -> std::string {
        try {
            throw Exception(ReturnCode::InvalidState);
        } catch (const Exception& exception) {
            return IRPC::RPCErrorObject(call, exception.what()).serialize();
        }
    });
    server_.on("second", [](const Call&) -> std::string { throw std::runtime_error("oh"); });
    auto before = scrape();
    auto client = webSocket();
    client.call(request("Test::echo"));
    client.call('[' + request("Test::echo") + ',' + request("Reader::echo") + ',' + request("Test::none") +
                ",1]");
    client.sendText(R"({"jsonrpc":"2.0","method":"Test::first"})"); // that it is refused is told nobody
    client.call(request("Test::first"));
    client.call(request("Test::second"));
    client.call(request("Test::echo", "[1]"));
    client.call(request("rpc.discover"));
    client.call("nonsense");
    client.call("[]");
    auto after = scrape();
    const std::map<std::string, int> expected{{requests("Test::echo", "ok"), 2},
                                              {requests("Test::echo", "refused"), 1},
                                              {requests("Reader::echo", "ok"), 1},
                                              {requests("Test::first", "refused"), 2},
                                              {requests("Test::second", "failed"), 1},
                                              {requests("rpc.discover", "ok"), 1},
                                              {requests("unknown", "refused"), 4},
                                              {timed("Test::echo"), 3},
                                              {timed("Reader::echo"), 1},
                                              {timed("Test::first"), 2},
                                              {timed("Test::second"), 1},
                                              {timed("rpc.discover"), 1},
                                              {timed("unknown"), 4},
                                              {R"(ostrel_errors_total{code="-32700"})", 1},
                                              {R"(ostrel_errors_total{code="-32600"})", 2},
                                              {R"(ostrel_errors_total{code="-32601"})", 1},
                                              {R"(ostrel_errors_total{code="-32602"})", 1},
                                              {R"(ostrel_errors_total{code="-32603"})", 1},
                                              {R"(ostrel_errors_total{code="-32000"})", 2},
                                              {R"(ostrel_errors_total{code="-32001"})", 0}};
    for (const auto& [series, value] : after)
        if (series.starts_with("ostrel_requests") || series.starts_with("ostrel_errors")) {
            const auto found = expected.find(series);
            EXPECT_EQ(value - before[series], found == expected.end() ? 0 : found->second) << series;
        }
    for (const auto& [series, count] : expected)
        EXPECT_EQ(after[series] - before[series], count) << series;
}

TEST_F(MetricsTest, ALargeReplyCountsAsRefused) {
    listen(with([](auto& limits) { limits.reply = 1000; }));
    server_.on("first", TestServer::answerOfSize(1001));
    auto before = scrape();
    webSocket().call(request("Test::first"));
    auto after = scrape();
    EXPECT_EQ(after[requests("Test::first", "refused")] - before[requests("Test::first", "refused")], 1);
    const auto large = R"(ostrel_errors_total{code="-32001"})";
    EXPECT_EQ(after[large] - before[large], 1);
}

TEST_F(MetricsTest, WhatClientsInventMakesNoSeries) {
    listen();
    auto client = webSocket();
    client.call(request("Test::none"));
    const auto before = scrape();
    for (int i = 0; i < 300; ++i)
        client.call(request("Test" + std::to_string(i % 3) + "::invented" + std::to_string(i)));
    const auto after = scrape();
    EXPECT_EQ(after.size(), before.size());
    EXPECT_EQ(after.at(requests("unknown", "refused")) - before.at(requests("unknown", "refused")), 300);
}

TEST_F(MetricsTest, UnderLoadNoRequestIsLostOrCountedTwice) {
    constexpr int clients = 16;
    constexpr int rounds = 100;
    listen();
    server_.on("second", TestServer::echo);
    auto before = scrape();
    std::atomic<bool> over = false;
    std::thread reader([&] {
        while (!over)
            scrape();
    });
    std::vector<std::thread> threads;
    for (int i = 0; i < clients; ++i)
        threads.emplace_back([&, i] {
            auto client = webSocket();
            for (int round = 0; round < rounds; ++round) {
                client.call(request("Test::echo"));
                client.call('[' + request("Reader::echo") + ',' + request("Test::none") + ',' +
                            request("Test::echo") + ']');
                if (i % 4 == 0)
                    connect().post("/rpc/Test", request("Reader::second"));
            }
        });
    for (auto& thread : threads)
        thread.join();
    over = true;
    reader.join();
    auto after = scrape();
    const auto change = [&](const std::string& series) { return after[series] - before[series]; };
    EXPECT_EQ(change(requests("Test::echo", "ok")), 2 * clients * rounds);
    EXPECT_EQ(change(requests("Reader::echo", "ok")), clients * rounds);
    EXPECT_EQ(change(requests("unknown", "refused")), clients * rounds);
    EXPECT_EQ(change(requests("Reader::second", "ok")), clients * rounds / 4);
    EXPECT_EQ(change(timed("Test::echo")), 2 * clients * rounds);
    EXPECT_EQ(change(timed("Reader::echo")), clients * rounds);
}

} // namespace
} // namespace Ostrel::Test
