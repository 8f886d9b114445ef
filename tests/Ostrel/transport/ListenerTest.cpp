#include "Ostrel/transport/Listener.h"
#include "Ostrel/transport/RequestLog.h"
#include "Ostrel/transport/StartError.h"

#include "Ostrel/runtime/Turn.h"
#include "tests/support/LogCapture.h"
#include "tests/support/TempDirectory.h"
#include "tests/support/TestServer.h"
#include "tests/support/WireClient.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <condition_variable>
#include <filesystem>
#include <fstream>
#include <future>
#include <map>
#include <mutex>
#include <optional>
#include <random>
#include <regex>
#include <thread>
#include <vector>

#include <sys/stat.h>
#include <unistd.h>

namespace Ostrel::Test {

/// How often memory has been given back.
int countTrims();

namespace {

using Call = IRPC::RPCSynchronousMethodObject;

constexpr const char* echoRequest = R"({"jsonrpc":"2.0","id":1,"method":"Test::echo"})";
constexpr const char* echoReply = R"({"jsonrpc":"2.0","id":1,"result":"{}"})";

std::string request(const char* method, int id = 1) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":")" + method + R"("})";
}

/// Lets threads wait for each other.
class Gate {
public:
    void open() {
        const std::lock_guard lock(mutex_);
        open_ = true;
        changed_.notify_all();
    }
    /// Waits until it is open; returns whether that was within half a minute.
    bool pass() {
        std::unique_lock lock(mutex_);
        return changed_.wait_for(lock, std::chrono::seconds(30), [this] { return open_; });
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    bool open_ = false;
};

class ListenerTest : public testing::Test {
protected:
    void listen(const Limits& limits = {}, Admission admission = {{}, {}, ""},
                const std::vector<Address>& addresses = {Address::parse("127.0.0.1:0")}) {
        listener_.emplace(addresses, std::move(admission),
                          ListenerOptions{.limits = limits, .advice = advice_});
    }

    const Address& address() const { return listener_->getAddresses().front(); }

    WireClient connect() const { return WireClient(address()); }

    WireClient webSocket(std::string_view headers = {}) const {
        auto client = connect();
        client.upgrade("/rpc/Test", headers);
        return client;
    }

    /// Sends one HTTP request on a connection of its own and returns all that comes back.
    std::string exchange(std::string_view text) const {
        auto client = connect();
        client.send(text);
        client.shutdownSend();
        return client.readAll();
    }

    const LogCapture log_;
    const Advice advice_{.addressInUse = "move elsewhere",
                         .tokenNeeded = "bring a token",
                         .foreignHost = "allow it with --host",
                         .foreignOrigin = "allow them with --origin"};
    RequestLog requestLog_;
    TestServer server_;
    std::optional<Listener> listener_;
};

// HTTP

struct HttpRow {
    const char* name;
    std::string request;
    const char* statusLine;
    std::vector<const char*> contains;
};

std::ostream& operator<<(std::ostream& out, const HttpRow& row) {
    return out << row.name;
}

std::string post(std::string_view body, const std::string& headers = "",
                 const std::string& type = "application/json") {
    return "POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nContent-Type: " + type +
           "\r\nContent-Length: " + std::to_string(body.size()) + "\r\n" + headers + "\r\n" +
           std::string(body);
}

std::string get(const std::string& path, const std::string& headers = "", const std::string& method = "GET",
                const std::string& host = "localhost") {
    return method + " " + path + " HTTP/1.1\r\nHost: " + host + "\r\n" + headers + "\r\n";
}

const std::string upgradeHeaders =
    "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n";

// clang-format off
const HttpRow httpRows[] = {
    {"Call", post(echoRequest), "HTTP/1.1 200 OK", {"Content-Type: application/json\r\n", "X-Content-Type-Options: nosniff\r\n", echoReply}},
    {"CallWithCharset", post(echoRequest, "", "Application/JSON; charset=utf-8"), "HTTP/1.1 200 OK", {echoReply}},
    {"ErrorIs200", post("nonsense"), "HTTP/1.1 200 OK", {"-32700"}},
    {"NotUtf8Is200", post("\"\xff\""), "HTTP/1.1 200 OK", {"-32700"}},
    {"NothingToReply", post(R"({"jsonrpc":"2.0","method":"Test::echo"})"), "HTTP/1.1 204 No Content", {}},
    {"CallAsJsonRpc", post(echoRequest, "", "application/json-rpc"), "HTTP/1.1 200 OK", {echoReply}},
    {"CallAsJsonRequest", post(echoRequest, "", "application/jsonrequest; charset=utf-8"), "HTTP/1.1 200 OK", {echoReply}},
    {"NearlyJson", post(echoRequest, "", "application/jsonp"), "HTTP/1.1 415 Unsupported Media Type", {}},
    {"WrongType", post(echoRequest, "", "text/plain"), "HTTP/1.1 415 Unsupported Media Type", {"application/json"}},
    {"NoUpgrade", get("/rpc/Test"), "HTTP/1.1 426 Upgrade Required", {"Upgrade: websocket\r\n", "POST"}},
    {"HeadOfNoUpgrade", get("/rpc/Test", "", "HEAD"), "HTTP/1.1 426 Upgrade Required", {}},
    {"UnknownServer", get("/rpc/Best"), "HTTP/1.1 404 Not Found", {"Best"}},
    {"Health", get("/healthz"), "HTTP/1.1 200 OK", {"\r\n\r\nok\n"}},
    {"HealthHead", get("/healthz", "", "HEAD"), "HTTP/1.1 200 OK", {"Content-Length: 3\r\n"}},
    {"HealthPost", "POST /healthz HTTP/1.1\r\nHost: localhost\r\nContent-Length: 0\r\n\r\n", "HTTP/1.1 405 Method Not Allowed", {"Allow: GET, HEAD\r\n"}},
    {"Elsewhere", get("/elsewhere"), "HTTP/1.1 404 Not Found", {"there is nothing here; calls go to /rpc/Test\n"}},
    {"Put", get("/rpc/Test", "Content-Length: 0\r\n", "PUT"), "HTTP/1.1 405 Method Not Allowed", {"Allow: GET, HEAD, POST, OPTIONS\r\n"}},
    {"UnknownMethod", get("/rpc/Test", "", "BREW"), "HTTP/1.1 405 Method Not Allowed", {"Allow: "}},
    {"QueryIsIgnored", get("/healthz?a=b"), "HTTP/1.1 200 OK", {}},
    {"AbsoluteForm", get("http://localhost/healthz"), "HTTP/1.1 200 OK", {}},
    {"NoLength", "POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n\r\n", "HTTP/1.1 411 Length Required", {}},
    {"Chunked", "POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n", "HTTP/1.1 400 Bad Request", {"Transfer-Encoding"}},
    {"OddTransferEncoding", "POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nContent-Length: 2\r\nTransfer-Encoding: identity\r\n\r\n{}", "HTTP/1.1 400 Bad Request", {}},
    {"NoHttp", "nonsense\r\n\r\n", "HTTP/1.1 400 Bad Request", {}},
    {"NoHost", "GET /healthz HTTP/1.1\r\n\r\n", "HTTP/1.1 400 Bad Request", {"Host"}},
    {"TwoHosts", "GET /healthz HTTP/1.1\r\nHost: localhost\r\nHost: localhost\r\n\r\n", "HTTP/1.1 400 Bad Request", {"Host"}},
    {"ForeignHost", get("/rpc/Test", "", "GET", "evil.example:80"), "HTTP/1.1 403 Forbidden", {"Host evil.example:80 is not this machine; allow it with --host evil.example\n"}},
    {"HealthOfAnyHost", get("/healthz?x", "", "GET", "evil.example"), "HTTP/1.1 200 OK", {}},
    {"ForeignOrigin", post(echoRequest, "Origin: https://evil.example\r\n"), "HTTP/1.1 403 Forbidden", {"pages from https://evil.example may not call; allow them with --origin https://evil.example\n"}},
    {"LoopbackOrigin", post(echoRequest, "Origin: http://localhost:3000\r\n"), "HTTP/1.1 200 OK", {"Access-Control-Allow-Origin: http://localhost:3000\r\n", "Vary: Origin\r\n"}},
    {"Preflight", get("/rpc/Test", "Origin: http://localhost:3000\r\nAccess-Control-Request-Method: POST\r\n", "OPTIONS"), "HTTP/1.1 204 No Content", {"Access-Control-Allow-Methods: POST\r\n", "Access-Control-Allow-Headers: content-type, authorization\r\n", "Access-Control-Max-Age: ", "Access-Control-Allow-Origin: http://localhost:3000\r\n"}},
    {"PreflightFromElsewhere", get("/rpc/Test", "Origin: https://evil.example\r\n", "OPTIONS"), "HTTP/1.1 403 Forbidden", {}},
    {"ShortKey", get("/rpc/Test", upgradeHeaders + "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25j\r\n"), "HTTP/1.1 400 Bad Request", {"16 bytes"}},
    {"OldVersion", get("/rpc/Test", "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 8\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n"), "HTTP/1.1 426 Upgrade Required", {"Sec-WebSocket-Version: 13"}},
    {"LongHead", get("/healthz", "X: " + std::string(17000, 'x') + "\r\n"), "HTTP/1.1 431 Request Header Fields Too Large", {}},
    {"LongBodyOfAPage", "POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nOrigin: http://localhost:3000\r\nContent-Type: application/json\r\nContent-Length: 1048577\r\n\r\n", "HTTP/1.1 413 Payload Too Large", {"Access-Control-Allow-Origin: http://localhost:3000\r\n", "Vary: Origin\r\n"}},
    {"LongBody", "POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\nContent-Length: 1048577\r\n\r\n", "HTTP/1.1 413 Payload Too Large", {}},
};
// clang-format on

class HttpTable : public ListenerTest, public testing::WithParamInterface<HttpRow> {};

TEST_P(HttpTable, GetsThisAnswer) {
    listen();
    const auto answer = exchange(GetParam().request);
    EXPECT_EQ(answer.substr(0, answer.find("\r\n")), GetParam().statusLine);
    for (const auto* part : GetParam().contains)
        EXPECT_NE(answer.find(part), std::string::npos) << part << "\nin\n" << answer;
    if (GetParam().request.starts_with("HEAD")) {
        EXPECT_TRUE(answer.ends_with("\r\n\r\n"));
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, HttpTable, testing::ValuesIn(httpRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(ListenerTest, BodyAtItsLimit) {
    listen();
    const std::string body = echoRequest + std::string((1u << 20) - std::string(echoRequest).size(), ' ');
    EXPECT_EQ(connect().post("/rpc/Test", body).body, echoReply);
}

TEST_F(ListenerTest, HeadAtItsLimitAndOnePast) {
    listen();
    const auto around = get("/healthz", "X: \r\n").size();
    EXPECT_TRUE(exchange(get("/healthz", "X: " + std::string(16384 - around, 'x') + "\r\n"))
                    .starts_with("HTTP/1.1 200"));
    EXPECT_TRUE(exchange(get("/healthz", "X: " + std::string(16385 - around, 'x') + "\r\n"))
                    .starts_with("HTTP/1.1 431"));
}

TEST_F(ListenerTest, RequestsOfOneHttpConnectionAreAnsweredInOrder) {
    listen();
    auto client = connect();
    std::string all;
    for (int i = 0; i < 300; ++i)
        all += post(request("Test::echo", i));
    client.send(all);
    for (int i = 0; i < 300; ++i)
        EXPECT_EQ(client.readAnswer().body,
                  R"({"jsonrpc":"2.0","id":)" + std::to_string(i) + R"(,"result":"{}"})");
}

TEST_F(ListenerTest, ExpectingClientIsToldToGoOn) {
    listen();
    auto client = connect();
    client.send("POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
                "Expect: 100-continue\r\nContent-Length: " +
                std::to_string(std::string_view(echoRequest).size()) + "\r\n\r\n");
    EXPECT_EQ(client.readAnswer().status, 100);
    client.send(echoRequest);
    EXPECT_EQ(client.readAnswer().body, echoReply);
}

// WebSocket

TEST_F(ListenerTest, CallsTravelOverAWebSocket) {
    listen();
    auto client = webSocket();
    EXPECT_EQ(client.call(echoRequest), echoReply);
    EXPECT_EQ(client.call("nonsense").find(R"({"jsonrpc":"2.0","id":null,"error":{"code":-32700)"), 0u);
    client.sendText(R"({"jsonrpc":"2.0","method":"Test::echo"})");
    EXPECT_EQ(client.call(echoRequest), echoReply);
}

TEST_F(ListenerTest, FramesSentTogetherWithTheUpgradeAreNotLost) {
    listen();
    auto client = connect();
    client.send(upgradeRequest("/rpc/Test") + frame(1, echoRequest) + frame(1, request("Test::echo", 2)));
    EXPECT_EQ(client.readAnswer(false).status, 101);
    EXPECT_EQ(client.readReply(), echoReply);
    EXPECT_EQ(client.readReply(), R"({"jsonrpc":"2.0","id":2,"result":"{}"})");
}

TEST_F(ListenerTest, RequestsMayBeSplitAnywhere) {
    listen();
    auto client = webSocket();
    const auto both = frame(1, echoRequest) + frame(1, request("Test::echo", 2));
    for (std::size_t at = 1; at != both.size(); ++at) {
        client.send(both.substr(0, at));
        client.send(both.substr(at));
        ASSERT_EQ(client.readReply(), echoReply) << at;
        ASSERT_EQ(client.readReply(), R"({"jsonrpc":"2.0","id":2,"result":"{}"})") << at;
    }
}

TEST_F(ListenerTest, RequestsMayComeWhileEarlierOnesAreAnswered) {
    listen();
    auto client = webSocket();
    client.sendText(echoRequest);
    for (int i = 0; i < 2000; ++i) {
        client.sendText(echoRequest); // before the last reply is read
        ASSERT_EQ(client.readReply(), echoReply) << i;
    }
    ASSERT_EQ(client.readReply(), echoReply);
}

TEST_F(ListenerTest, WebSocketClientMayEndItsSendingBehindARequest) {
    listen();
    for (int i = 0; i < 50; ++i) {
        auto client = webSocket();
        client.send(frame(1, echoRequest));
        client.shutdownSend();
        ASSERT_EQ(client.readReply(), echoReply) << i;
        ASSERT_TRUE(client.isClosedByPeer()) << i;
    }
}

TEST_F(ListenerTest, SubProtocolIsEchoed) {
    listen();
    EXPECT_NE(connect()
                  .upgrade("/rpc/Test", "Sec-WebSocket-Protocol: chat, jsonrpc\r\n")
                  .find("Sec-WebSocket-Protocol: jsonrpc\r\n"),
              std::string::npos);
    EXPECT_NE(connect()
                  .upgrade("/rpc/Test", "Sec-WebSocket-Protocol: chat\r\nSec-WebSocket-Protocol: jsonrpc\r\n")
                  .find("Sec-WebSocket-Protocol: jsonrpc\r\n"),
              std::string::npos);
    EXPECT_EQ(connect().upgrade("/rpc/Test").find("Sec-WebSocket-Protocol"), std::string::npos);
}

TEST_F(ListenerTest, UpgradeHasNoCompressionAndForbidsSniffing) {
    listen();
    const auto head = connect().upgrade("/rpc/Test", "Sec-WebSocket-Extensions: permessage-deflate\r\n");
    EXPECT_EQ(head.find("Sec-WebSocket-Extensions"), std::string::npos);
    EXPECT_NE(head.find("X-Content-Type-Options: nosniff\r\n"), std::string::npos);
}

TEST_F(ListenerTest, PingsAreAnswered) {
    listen();
    auto client = webSocket();
    client.sendFrame(9, "are you there");
    EXPECT_EQ(client.readFrame(), (Frame{10, "are you there"}));
}

TEST_F(ListenerTest, LargeMessagesTravelWhole) {
    Limits limits;
    limits.message = 200'000;
    listen(limits);
    auto client = webSocket();
    for (const std::size_t size : {125u, 126u, 65'535u, 65'536u, 190'000u}) {
        const auto text = R"({"jsonrpc":"2.0","id":1,"method":"Test::echo","params":{"a":")" +
                          std::string(size, 'x') + R"("}})";
        EXPECT_NE(client.call(text).find(std::string(size, 'x')), std::string::npos) << size;
    }
}

TEST_F(ListenerTest, MessageAtItsLimitAndOnePast) {
    Limits limits;
    limits.message = 1000;
    listen(limits);
    auto client = webSocket();
    const std::string text = echoRequest;
    EXPECT_EQ(client.call(text + std::string(1000 - text.size(), ' ')), echoReply);
    client.sendText(text + std::string(1001 - text.size(), ' '));
    EXPECT_EQ(client.readFrame().closeCode(), 1009);
    EXPECT_TRUE(client.isClosedByPeer());
}

TEST_F(ListenerTest, WhatIsNoTextClosesTheConnection) {
    listen();
    auto binary = webSocket();
    binary.sendFrame(2, echoRequest);
    EXPECT_EQ(binary.readFrame().closeCode(), 1003);

    auto notUtf8 = webSocket();
    notUtf8.sendFrame(1, "\"\xff\"");
    EXPECT_EQ(notUtf8.readFrame().closeCode(), 1007);

    // A whole character in two frames is one; without its end it is none, even if all is said.
    const auto sendInTwo = [](WireClient& client, const std::string& first, const std::string& second) {
        auto opening = frame(1, first);
        opening[0] = 1; // more is to come
        client.send(opening);
        client.sendFrame(0, second);
    };
    auto divided = webSocket();
    sendInTwo(divided, "[\"\xe2\x82", "\xac\"]");
    EXPECT_TRUE(divided.readReply().starts_with(R"([{"jsonrpc":"2.0","id":null,"error":{"code":-32600)"));
    for (const char* part : {"\xc3", "\xe2\x82", "\xf0\x9f\x98"}) {
        auto unfinished = webSocket();
        sendInTwo(unfinished, part, "");
        EXPECT_EQ(unfinished.readFrame().closeCode(), 1007);
    }

    auto unmasked = webSocket();
    unmasked.send(std::string("\x81\x02{}", 4));
    EXPECT_EQ(unmasked.readFrame().closeCode(), 1002);
}

TEST_F(ListenerTest, RandomFramesHurtNobodyElse) {
    listen();
    auto other = webSocket();
    std::mt19937 random(20111016);
    const auto below = [&](unsigned limit) { return random() % limit; };
    for (int round = 0; round < 200; ++round) {
        auto client = webSocket();
        std::string frames;
        for (unsigned i = 0, count = 2 + below(7); i < count; ++i) {
            constexpr int opcodes[] = {0, 1, 2, 3, 8, 9, 10};
            std::string payload(below(8), ' ');
            for (auto& byte : payload)
                byte = char(below(256));
            auto one = frame(opcodes[below(7)], payload);
            if (below(3) == 0)
                one[0] = char(one[0] & 0x7f); // not the last of its message
            frames += one;
        }
        client.send(frames);
        if (below(2) == 0) {
            client.shutdownSend();
            client.readAll();
        }
    }
    EXPECT_EQ(other.call(echoRequest), echoReply);
}

TEST_F(ListenerTest, ClientThatClosesIsAnswered) {
    listen();
    auto client = webSocket();
    client.sendFrame(8, std::string("\x03\xe8", 2));
    EXPECT_EQ(client.readFrame().closeCode(), 1000);
    EXPECT_TRUE(client.isClosedByPeer());
}

TEST_F(ListenerTest, NotificationsReachEveryWebSocketInOrderAndBeforeTheReply) {
    listen();
    server_.on("first", [this](const Call& call) {
        server_.handleRPCNotification("Test::one", "{}");
        server_.handleRPCNotification("Test::two", "{}");
        return TestServer::echo(call);
    });
    auto watcher = webSocket();
    auto client = webSocket();
    watcher.call(echoRequest); // both have subscribed
    client.sendText(request("Test::first"));
    const auto one = R"({"jsonrpc":"2.0","method":"Test::one","params":{}})";
    const auto two = R"({"jsonrpc":"2.0","method":"Test::two","params":{}})";
    EXPECT_EQ(client.readFrame().payload, one);
    EXPECT_EQ(client.readFrame().payload, two);
    EXPECT_EQ(client.readFrame().payload, echoReply);
    EXPECT_EQ(watcher.readFrame().payload, one);
    EXPECT_EQ(watcher.readFrame().payload, two);
}

class StormTest : public ListenerTest {
protected:
    /// A client for whom so much waits that further notifications do, too.
    WireClient reluctant() {
        server_.on("second", TestServer::answerOfSize(20'000'000));
        auto client = webSocket();
        client.sendText(request("Test::second"));
        while (listener_->getStatus().waiting == 0)
            std::this_thread::yield();
        return client;
    }

    void raise(const std::string& name, int n, const std::string& topic) {
        server_.handleRPCNotification("Test::" + name, std::to_string(n), topic);
    }
};

TEST_F(StormTest, LatestOfATopicTakesThePlaceOfThoseThatWait) {
    listen();
    auto client = reluctant();
    const auto raiseAll = [this](const Call& call) {
        for (int i = 0; i < 100; ++i)
            raise("progress", i, "a");
        raise("progress", 100, "b");
        raise("done", 0, "");
        raise("done", 1, "");
        for (int i = 200; i < 300; ++i)
            raise("progress", i, "b");
        return TestServer::echo(call);
    };
    server_.on("first", raiseAll);
    auto reader = webSocket(); // who gets every single one
    reader.call(echoRequest);
    webSocket().call(request("Test::first")); // at once
    auto other = webSocket();
    for (int i = 300; i < 400; ++i) { // and one by one
        raise("progress", i, "b");
        EXPECT_EQ(other.call(echoRequest), echoReply);
    }
    for (int i = 0; i < 100; ++i)
        EXPECT_NE(reader.readFrame().payload.find("progress\",\"params\":" + std::to_string(i)),
                  std::string::npos);
    client.readReply();
    for (const auto* expected : {R"(progress","params":99)", R"(progress","params":100)",
                                 R"(done","params":0)", R"(done","params":1)", R"(progress","params":399)"})
        EXPECT_NE(client.readFrame().payload.find(expected), std::string::npos) << expected;
}

class SlowedTest : public StormTest {
protected:
    /// Has somebody call four times what sends as many notifications as may be sent in a second.
    /// @param frames   what it sends
    /// @param replies  how many it is sent
    void expectSlowed(const std::string& frames, int replies) {
        Limits limits;
        limits.notifications = 100;
        listen(limits);
        std::atomic<int> raised = 0;
        server_.on("first", [&](const Call& call) {
            for (int i = 0; i < 50; ++i)
                raise("noise", ++raised, "");
            return TestServer::echo(call);
        });
        auto raiser = webSocket();
        auto other = webSocket();
        other.call(echoRequest);
        raiser.call(echoRequest); // both are sent what is raised
        raiser.send(frames);
        int last = 0;
        for (int same = 0; same < 50 || raised < 100; ++same) { // a second's worth is not slowed
            EXPECT_EQ(other.call(echoRequest), echoReply);
            if (std::exchange(last, raised.load()) != last)
                same = 0;
        }
        EXPECT_LT(raised, 200);
        for (int i = 0; i < replies; ++i)
            EXPECT_NE(raiser.readReply().find(echoReply), std::string::npos);
        EXPECT_EQ(raised, 200);
    }
};

TEST_F(SlowedTest, WhoRaisesAStormIsReadFromLater) {
    const auto one = frame(1, request("Test::first"));
    expectSlowed(one + one + one + one, 4);
}

TEST_F(SlowedTest, ABatchThatRaisesAStormGoesOnLater) {
    const auto one = request("Test::first");
    expectSlowed(frame(1, "[" + one + "," + one + "," + one + "," + one + "]"), 1);
}

TEST_F(ListenerTest, NotificationsFromManyThreadsComeInOneOrder) {
    listen();
    std::vector<WireClient> clients;
    for (int i = 0; i < 8; ++i) {
        clients.push_back(webSocket());
        clients.back().call(echoRequest);
    }
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread)
        threads.emplace_back([this, thread] {
            for (int i = 0; i < 50; ++i)
                server_.handleRPCNotification("Test::n", "{\"n\":" + std::to_string(1000 * thread + i) + "}");
        });
    for (auto& thread : threads)
        thread.join();
    std::vector<std::string> first;
    for (int i = 0; i < 200; ++i)
        first.push_back(clients[0].readFrame().payload);
    for (std::size_t c = 1; c < clients.size(); ++c)
        for (const auto& text : first)
            ASSERT_EQ(clients[c].readFrame().payload, text);
}

// Whose turn it is

TEST_F(ListenerTest, RequestsOfOneConnectionDoNotOvertakeEachOther) {
    listen();
    Gate gate;
    server_.on("first", [&](const Call& call) {
        EXPECT_TRUE(gate.pass());
        return TestServer::echo(call);
    });
    auto client = webSocket();
    client.sendText(request("Reader::first", 1));
    client.sendText(request("Test::echo", 2));
    gate.open();
    EXPECT_NE(client.readReply().find("\"id\":1"), std::string::npos);
    EXPECT_NE(client.readReply().find("\"id\":2"), std::string::npos);
}

TEST_F(ListenerTest, ReadersRunTogetherAndHinderNobody) {
    listen();
    Gate oneIsIn;
    Gate otherIsIn;
    server_.on("first", [&](const Call& call) {
        oneIsIn.open();
        EXPECT_TRUE(otherIsIn.pass());
        return TestServer::echo(call);
    });
    server_.on("second", [&](const Call& call) {
        EXPECT_TRUE(oneIsIn.pass());
        otherIsIn.open();
        return TestServer::echo(call);
    });
    auto one = webSocket();
    auto other = webSocket();
    one.sendText(request("Reader::first"));
    EXPECT_TRUE(oneIsIn.pass());
    auto third = webSocket();
    EXPECT_EQ(third.call(echoRequest), echoReply); // while the first is being carried out
    other.sendText(request("Reader::second"));
    EXPECT_EQ(one.readReply(), echoReply);
    EXPECT_EQ(other.readReply(), echoReply);
}

TEST_F(ListenerTest, HandlersThatNeedTheTurnRunOneAtATime) {
    listen();
    std::atomic<int> inside = 0;
    std::atomic<bool> met = false;
    const auto handler = [&](const Call& call) {
        if (++inside > 1)
            met = true;
        std::this_thread::yield();
        --inside;
        return TestServer::echo(call);
    };
    server_.on("first", handler);
    server_.on("second", handler);

    std::atomic<bool> stop = false;
    std::thread task([&] { // as a task would
        while (!stop) {
            const Turn::Hold hold;
            if (++inside > 1)
                met = true;
            std::this_thread::yield();
            --inside;
        }
    });
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
        threads.emplace_back([this] {
            auto client = webSocket();
            for (int k = 0; k < 100; ++k)
                client.call("[" + request("Test::first") + "," + request("Reader::echo") + "," +
                            request("Test::second") + "]");
        });
    for (auto& thread : threads)
        thread.join();
    stop = true;
    task.join();
    EXPECT_FALSE(met);
}

TEST_F(ListenerTest, BusyHandlerDoesNotKeepOthersFromConnecting) {
    listen();
    Gate entered;
    Gate gate;
    server_.on("first", [&](const Call& call) {
        entered.open();
        EXPECT_TRUE(gate.pass());
        return TestServer::echo(call);
    });
    auto busy = webSocket();
    // A reader first, so that the batch has moved to its lanes when the busy handler begins.
    busy.sendText("[" + request("Reader::echo") + "," + request("Test::first") + "]");
    EXPECT_TRUE(entered.pass());
    EXPECT_TRUE(exchange(get("/healthz")).starts_with("HTTP/1.1 200"));
    auto other = webSocket();
    other.sendText(request("Test::echo"));
    gate.open();
    EXPECT_NE(busy.readReply().find("},{"), std::string::npos);
    EXPECT_EQ(other.readReply(), echoReply);
}

// Limits

TEST_F(ListenerTest, ClientThatDoesNotReadIsCutOffAlone) {
    Limits limits;
    limits.waiting = 4u << 20;
    listen(limits);
    auto slow = webSocket();
    slow.call(echoRequest); // has subscribed
    auto other = webSocket();
    const auto payload = '"' + std::string(100'000, 'x') + '"';
    std::size_t most = 0;
    // More than the limit and what the system's buffers take together.
    for (int i = 0; i < 300; ++i) {
        server_.handleRPCNotification("Test::much", payload);
        EXPECT_EQ(other.call(echoRequest), echoReply);
        most = std::max(most, listener_->getStatus().waiting);
    }
    EXPECT_LE(most, limits.waiting + 300'000);
    Frame frame;
    do
        frame = slow.readFrame();
    while (frame.opcode != 8);
    EXPECT_EQ(frame.closeCode(), 1013);
    EXPECT_EQ(other.call(echoRequest), echoReply);
}

TEST_F(ListenerTest, TogetherClientsMayOnlyLetSoMuchWait) {
    Limits limits;
    limits.waitingTogether = 8u << 20;
    limits.outbox = limits.waiting;
    listen(limits);
    constexpr std::size_t replySize = 100'000;
    // The reply that goes past the limit is counted, with what is around it, before anybody is cut off.
    const auto most = limits.waitingTogether + 2 * replySize;
    server_.on("first", TestServer::answerOfSize(replySize));
    std::vector<WireClient> slow;
    const auto text = frame(1, request("Test::first"));
    for (int i = 0; i < 4; ++i)
        slow.push_back(webSocket());
    auto other = webSocket();
    for (int i = 0; i < 150; ++i)
        for (auto& client : slow) {
            client.sendSome(text);
            EXPECT_EQ(other.call(echoRequest), echoReply);
            EXPECT_LE(listener_->getStatus().waiting, most);
        }
    int closed = 0;
    for (auto& client : slow) {
        client.shutdownSend();
        closed += client.readAll().ends_with(std::string("\x88\x02\x03\xf5", 4));
    }
    EXPECT_GE(closed, 1);
}

TEST_F(ListenerTest, WhoHasMuchOfABegunAnswerGoesForAllAndNobodyElse) {
    constexpr std::size_t replySize = 10'000'000; // much more than the system's buffers take
    constexpr std::size_t fit = 3, past = 2;
    Limits limits;
    limits.waitingTogether = fit * replySize + replySize / 2;
    listen(limits);
    server_.on("first", TestServer::answerOfSize(replySize));
    std::vector<WireClient> slow;
    while (slow.size() < fit + past) {
        slow.push_back(webSocket());
        slow.back().sendText(request("Test::first"));
        slow.back().hasInput(std::chrono::minutes(1));
    }
    while (log_.texts().size() < past) // the begin of an answer goes out before it counts
        std::this_thread::yield();
    EXPECT_EQ(log_.texts().size(), past);
    const auto keeps = [&](WireClient& client) {
        client.shutdownSend();
        const auto all = client.readAll();
        return all.size() > replySize && !all.ends_with(std::string("\x88\x02\x03\xf5", 4));
    };
    EXPECT_EQ(std::count_if(slow.begin(), slow.end(), keeps), fit);
}

TEST_F(ListenerTest, SharedTextCountsOnceForAllClients) {
    Limits limits;
    limits.waitingTogether = 32u << 20;
    listen(limits);
    std::vector<WireClient> slow;
    for (int i = 0; i < 8; ++i) {
        slow.push_back(webSocket());
        slow.back().call(echoRequest); // has subscribed
    }
    auto other = webSocket();
    const auto payload = '"' + std::string(1'000'000, 'x') + '"';
    for (int i = 0; i < 20; ++i) {
        server_.handleRPCNotification("Test::much", payload);
        EXPECT_EQ(other.call(echoRequest), echoReply);
    }
    EXPECT_GT(listener_->getStatus().waiting, 10'000'000u);
    EXPECT_EQ(listener_->getStatus().connections, 9u);
    for (auto& client : slow)
        for (int i = 0; i < 20; ++i)
            EXPECT_EQ(client.readFrame().opcode, 1);
}

TEST_F(ListenerTest, ReplyAtItsLimitIsNoReasonToCutOff) {
    Limits limits;
    limits.reply = limits.waiting = 8'000'000;
    listen(limits);
    const auto around = std::string_view(R"({"jsonrpc":"2.0","id":1,"result":""})").size();
    server_.on("first", TestServer::answerOfSize(limits.reply - around));
    EXPECT_EQ(webSocket().call(request("Test::first")).size(), limits.reply);
    EXPECT_EQ(connect().post("/rpc/Test", request("Test::first")).body.size(), limits.reply);
}

TEST_F(ListenerTest, PingsOfAClientThatDoesNotReadAreLeftUnread) {
    const Limits limits;
    listen(limits);
    auto flooding = webSocket();
    auto other = webSocket();
    constexpr int count = 200'000; // much more than the system's buffers take
    const std::string payload(125, 'p');
    std::thread flood([&] {
        const auto ping = frame(9, payload);
        for (int i = 0; i < count; ++i)
            flooding.send(ping);
    });
    while (listener_->getStatus().waiting <= limits.outbox)
        std::this_thread::yield();
    std::size_t most = 0;
    for (int i = 0; i < 2000; ++i) {
        EXPECT_EQ(other.call(echoRequest), echoReply);
        most = std::max(most, listener_->getStatus().waiting);
    }
    EXPECT_LE(most, limits.outbox + 65'536);
    for (int i = 0; i < count; ++i)
        ASSERT_EQ(flooding.readFrame(), (Frame{10, payload}));
    flood.join();
    EXPECT_EQ(flooding.call(echoRequest), echoReply);
}

class AskingAheadTest : public ListenerTest {
protected:
    AskingAheadTest() {
        listen();
        server_.on("first", [this, answer = TestServer::answerOfSize(1'000'000)](const Call& call) {
            ++carriedOut_;
            return answer(call);
        });
    }

    /// Sends all requests and waits until no more are carried out.
    void ask(WireClient& client, const std::string& request) {
        for (int i = 0; i < count; ++i)
            client.send(request);
        while (listener_->getStatus().waiting <= Limits().outbox)
            std::this_thread::yield();
        auto other = webSocket();
        for (int i = 0; i < 100; ++i)
            EXPECT_EQ(other.call(echoRequest), echoReply);
        EXPECT_LT(carriedOut_, count);
        EXPECT_LT(listener_->getStatus().waiting, 4u << 20);
    }

    static constexpr int count = 50; // much more than the system's buffers take
    std::atomic<int> carriedOut_ = 0;
};

TEST_F(AskingAheadTest, RequestsOfAnHttpClientThatDoesNotReadWait) {
    auto client = connect();
    ask(client, post(request("Test::first")));
    for (int i = 0; i < count; ++i)
        EXPECT_GT(client.readAnswer().body.size(), 1'000'000u);
}

TEST_F(AskingAheadTest, MessagesOfAWebSocketClientThatDoesNotReadWait) {
    auto client = webSocket();
    ask(client, frame(1, request("Test::first")));
    for (int i = 0; i < count; ++i)
        EXPECT_GT(client.readReply().size(), 1'000'000u);
}

TEST_F(ListenerTest, ConnectionsAtTheirLimitAndOnePast) {
    Limits limits;
    limits.connections = 3;
    listen(limits);
    auto one = webSocket();
    auto two = webSocket();
    {
        auto three = webSocket();
        EXPECT_EQ(three.call(echoRequest), echoReply);
        EXPECT_TRUE(exchange(get("/healthz")).starts_with("HTTP/1.1 503"));
        EXPECT_EQ(one.call(echoRequest), echoReply);
    }
    // The third is gone as soon as the listener has noticed.
    while (listener_->getStatus().connections == 3)
        std::this_thread::yield();
    EXPECT_TRUE(exchange(get("/healthz")).starts_with("HTTP/1.1 200"));
    EXPECT_EQ(two.call(echoRequest), echoReply);
}

TEST_F(ListenerTest, ClientThatSendsNoRequestIsClosed) {
    Limits limits;
    limits.headTime = std::chrono::milliseconds(50);
    listen(limits);
    EXPECT_EQ(connect().readAll(), "");
    auto dripping = connect();
    dripping.send("GET /healthz HTT");
    EXPECT_EQ(dripping.readAll(), "");
}

TEST_F(ListenerTest, ClientThatSendsNoBodyIsClosed) {
    Limits limits;
    limits.bodyTime = std::chrono::milliseconds(50);
    listen(limits);
    auto client = connect();
    client.send("POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nContent-Length: 10\r\n\r\n12345");
    EXPECT_EQ(client.readAll(), "");
}

TEST_F(ListenerTest, HttpConnectionWithoutARequestIsClosed) {
    Limits limits;
    limits.keepAlive = std::chrono::milliseconds(50);
    listen(limits);
    auto client = connect();
    client.send(get("/healthz"));
    EXPECT_EQ(client.readAnswer().status, 200);
    EXPECT_EQ(client.readAll(), "");
}

TEST_F(ListenerTest, ReaderThatStallsIsClosed) {
    Limits limits;
    limits.stalledReader = limits.closing = std::chrono::milliseconds(50);
    listen(limits);
    server_.on("first", TestServer::answerOfSize(20'000'000));
    auto client = webSocket();
    client.sendText(request("Test::first"));
    while (listener_->getStatus().connections > 0)
        std::this_thread::yield();
    EXPECT_EQ(listener_->getStatus().waiting, 0u);
}

TEST_F(ListenerTest, WebSocketThatStalledIsToldWhenItReadsAgain) {
    Limits limits;
    limits.stalledReader = std::chrono::milliseconds(50);
    listen(limits);
    server_.on("first", TestServer::answerOfSize(20'000'000));
    auto client = webSocket();
    client.sendText(request("Test::first"));
    while (log_.texts().empty()) // it is cut off
        std::this_thread::yield();
    EXPECT_GE(client.readFrame().payload.size(), 20'000'000u);
    EXPECT_EQ(client.readFrame().closeCode(), 1013);
}

TEST_F(ListenerTest, EveryoneWhoIsCutOffForTheSakeOfAllIsTold) {
    Limits limits;
    limits.waitingTogether = 2u << 20;
    limits.outbox = limits.waiting;
    listen(limits);
    server_.on("first", TestServer::answerOfSize(50'000));
    std::vector<WireClient> slow;
    for (int i = 0; i < 8; ++i)
        slow.push_back(webSocket());
    std::size_t cutOff = 0;
    while (cutOff < slow.size()) {
        for (auto& client : slow)
            client.sendSome(frame(1, request("Test::first")));
        cutOff = log_.texts().size();
    }
    EXPECT_EQ(listener_->getStatus().connections, slow.size()); // all are still being told
    for (auto& client : slow) {
        Frame frame;
        do
            frame = client.readFrame();
        while (frame.opcode != 8);
        EXPECT_EQ(frame.closeCode(), 1013);
    }
}

TEST_F(ListenerTest, IdleWebSocketIsPingedAndThenClosed) {
    Limits limits;
    limits.idleWebSocket = std::chrono::milliseconds(400);
    listen(limits);
    auto client = webSocket();
    EXPECT_EQ(client.readFrame().opcode, 9);
    EXPECT_NO_THROW(client.readAll()); // the ping is never answered
    while (listener_->getStatus().connections > 0)
        std::this_thread::yield();
}

class BudgetTest : public ListenerTest {
protected:
    BudgetTest() {
        Limits limits;
        limits.message = limits.messagesTogether = size;
        limits.bodyTime = std::chrono::milliseconds(2000);
        listen(limits);
        server_.on("first", [this](const Call& call) {
            entered_.open();
            EXPECT_TRUE(gate_.pass());
            return TestServer::echo(call);
        });
        server_.on("second", [this](const Call& call) {
            ++carriedOut_;
            return TestServer::echo(call);
        });
    }
    ~BudgetTest() override {
        gate_.open();
        listener_.reset(); // the handlers refer to what is about to go
    }

    /// A message at its limit.
    static std::string large(const char* method) {
        const auto text = request(method);
        return text + std::string(size - text.size(), ' ');
    }

    static constexpr std::size_t size = 300'000;

    /// Returns when the time for a body is over.
    void letTheTimeRunOut() const {
        auto late = connect();
        late.send("POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nContent-Length: 10\r\n\r\n12345");
        EXPECT_EQ(late.readAll(), "");
    }

    Gate entered_;
    Gate gate_;
    std::atomic<int> carriedOut_ = 0;
};

TEST_F(BudgetTest, LargeMessagesWaitUnreadAndNobodyElse) {
    auto one = webSocket();
    one.sendText(large("Reader::first"));
    EXPECT_TRUE(entered_.pass());
    auto two = webSocket();
    two.sendText(large("Reader::second"));
    auto three = connect();
    three.send(post(large("Reader::second")));
    auto other = webSocket();
    for (int i = 0; i < 1000; ++i)
        EXPECT_EQ(other.call(echoRequest), echoReply);
    letTheTimeRunOut(); // theirs does not run
    EXPECT_EQ(carriedOut_, 0);
    gate_.open();
    EXPECT_EQ(one.readReply(), echoReply);
    EXPECT_EQ(two.readReply(), echoReply);
    EXPECT_EQ(three.readAnswer().body, echoReply);
}

TEST_F(BudgetTest, ClientsWhoSendSlowlyBlockNobody) {
    std::vector<WireClient> slow;
    for (int i = 0; i < 8; ++i) {
        slow.push_back(webSocket());
        slow.back().send(frame(1, large("Reader::second")).substr(0, 200'000));
    }
    EXPECT_EQ(webSocket().call(large("Reader::second")), echoReply);
    EXPECT_EQ(connect().post("/rpc/Test", large("Reader::second")).body, echoReply);
}

/// The limit must let a call come through; that it is over shows another client, who keeps silent.
class IdleTest : public ListenerTest {
protected:
    IdleTest() {
        Limits limits;
        limits.idleWebSocket = std::chrono::milliseconds(2000);
        listen(limits);
    }

    void letTheTimeRunOut() const { webSocket().readAll(); }
};

TEST_F(IdleTest, WebSocketThatAnswersPingsStays) {
    auto client = webSocket();
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(client.readFrame().opcode, 9);
        client.sendFrame(10, "");
    }
    EXPECT_EQ(client.call(echoRequest), echoReply);
}

TEST_F(IdleTest, TimeSpentWorkingIsNone) {
    Gate gate;
    server_.on("first", [&](const Call& call) {
        EXPECT_TRUE(gate.pass());
        return TestServer::echo(call);
    });
    auto client = webSocket();
    client.sendText(request("Reader::first"));
    letTheTimeRunOut();
    gate.open();
    EXPECT_EQ(client.readFrame().payload, echoReply); // not even pinged
}

TEST_F(IdleTest, TimeInWhichBytesWaitIsNone) {
    constexpr std::size_t size = 20'000'000;
    server_.on("first", TestServer::answerOfSize(size));
    auto client = webSocket();
    client.sendText(request("Test::first"));
    while (listener_->getStatus().waiting == 0)
        std::this_thread::yield();
    letTheTimeRunOut();
    EXPECT_GE(client.readFrame().payload.size(), size);
}

TEST_F(IdleTest, SoIsTimeInWhichTheSystemStillHasSome) {
    const TempDirectory directory;
    const Listener listener({Address::parse("unix:" + directory.file("socket"))}, {{}, {}, ""},
                            {.limits = {.idleWebSocket = std::chrono::milliseconds(2000)}});
    server_.on("first", TestServer::answerOfSize(50'000));
    WireClient client(listener.getAddresses().front());
    client.upgrade("/rpc/Test");
    client.sendText(request("Test::first"));
    letTheTimeRunOut();
    letTheTimeRunOut();
    EXPECT_GE(client.readFrame().payload.size(), 50'000u);
    EXPECT_EQ(client.call(echoRequest), echoReply);
}

// Who is let in

class TokenTest : public ListenerTest {
protected:
    TokenTest() { listen({}, {{"https://tv.example"}, {}, token}); }
    static constexpr const char* token = "0123456789abcdefghijklmnopqrstuv";
};

TEST_F(TokenTest, CallsNeedTheToken) {
    EXPECT_TRUE(exchange(post(echoRequest)).starts_with("HTTP/1.1 401"));
    EXPECT_TRUE(exchange(post(echoRequest, "Authorization: Bearer wrong\r\n")).starts_with("HTTP/1.1 401"));
    const std::string line = "refused: the right token is needed: Authorization: Bearer TOKEN";
    EXPECT_EQ(log_.texts(), (std::vector{line, line}));
    const auto answer = exchange(post(echoRequest, std::string("Authorization: Bearer ") + token + "\r\n"));
    EXPECT_TRUE(answer.starts_with("HTTP/1.1 200"));
    EXPECT_EQ(answer.find(token), std::string::npos);
    EXPECT_TRUE(exchange(upgradeRequest("/rpc/Test")).starts_with("HTTP/1.1 401"));
}

TEST_F(TokenTest, HealthAndPreflightDoNot) {
    EXPECT_TRUE(exchange(get("/healthz")).starts_with("HTTP/1.1 200"));
    EXPECT_TRUE(
        exchange(get("/rpc/Test", "Origin: https://tv.example\r\n", "OPTIONS")).starts_with("HTTP/1.1 204"));
}

TEST_F(TokenTest, WebSocketMayBringItAsASubProtocol) {
    auto client = connect();
    const auto head =
        client.upgrade("/rpc/Test", std::string("Sec-WebSocket-Protocol: bearer.") + token + ", jsonrpc\r\n");
    EXPECT_NE(head.find("Sec-WebSocket-Protocol: jsonrpc\r\n"), std::string::npos);
    EXPECT_EQ(head.find(token), std::string::npos);
    EXPECT_EQ(client.call(echoRequest), echoReply);
    EXPECT_TRUE(exchange(post(echoRequest, std::string("Sec-WebSocket-Protocol: bearer.") + token + "\r\n"))
                    .starts_with("HTTP/1.1 401"));
}

TEST_F(ListenerTest, ListeningBeyondThisMachineNeedsAToken) {
    try {
        listen({}, {{}, {}, ""}, {Address::parse("0.0.0.0:0")});
        FAIL();
    } catch (const StartError& error) {
        EXPECT_STREQ(error.what(), "listening on 0.0.0.0:0 lets others in; bring a token");
    }
    EXPECT_NO_THROW(listen({}, {{}, {}, std::string(32, 't')}, {Address::parse("0.0.0.0:0")}));
}

TEST_F(ListenerTest, AddressInUseIsSaid) {
    listen();
    try {
        const Listener second({address()}, {{}, {}, ""}, {.advice = advice_});
        FAIL();
    } catch (const StartError& error) {
        EXPECT_EQ(error.what(), address().toString() + " is in use; move elsewhere");
    }
}

TEST_F(ListenerTest, RefusalIsAlsoALineInTheLog) {
    listen();
    EXPECT_TRUE(exchange(get("/rpc/Test", "", "GET", "evil.example")).starts_with("HTTP/1.1 403"));
    EXPECT_TRUE(exchange(post(echoRequest, "Origin: https://evil.example\r\n")).starts_with("HTTP/1.1 403"));
    const auto lines = log_.lines();
    ASSERT_EQ(lines.size(), 2u);
    EXPECT_EQ(lines[0].level, DebugLevel::Warning);
    EXPECT_EQ(lines[0].text,
              "refused: Host evil.example is not this machine; allow it with --host evil.example");
}

TEST_F(ListenerTest, RequestOfTwoOriginsIsReadableForNeither) {
    listen();
    const std::string twice = "Origin: http://localhost:3000\r\nOrigin: http://localhost:3000\r\n";
    for (const auto& [text, status] : {
             std::pair(post(echoRequest, twice), "403"),
             std::pair(post(echoRequest, twice + "Transfer-Encoding: chunked\r\n"), "400"),
             std::pair("POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nContent-Length: 1048577\r\n" + twice +
                           "\r\n",
                       "413"),
             std::pair(get("/healthz", twice + "X: " + std::string(17000, 'x') + "\r\n"), "431"),
         }) {
        const auto answer = exchange(text);
        EXPECT_EQ(answer.substr(9, 3), status);
        EXPECT_EQ(answer.find("Access-Control-Allow-Origin"), std::string::npos) << answer;
    }
}

TEST_F(ListenerTest, OtherRefusalsAreNotLogged) {
    listen();
    EXPECT_TRUE(exchange(get("/rpc/Best")).starts_with("HTTP/1.1 404"));
    EXPECT_TRUE(exchange("GET /healthz HTTP/1.1\r\n\r\n").starts_with("HTTP/1.1 400"));
    EXPECT_EQ(log_.texts(), std::vector<std::string>());
}

// Slow but steady

class SlowReaderTest : public ListenerTest {
protected:
    SlowReaderTest() {
        Limits limits;
        limits.keepAlive = limits.closing = std::chrono::milliseconds(1);
        limits.bodyTime = std::chrono::milliseconds(1);
        listen(limits);
        server_.on("first", TestServer::answerOfSize(size));
    }

    /// Returns when every time that had run out has been noticed.
    void waitForATick() const {
        auto late = connect();
        late.send("POST /rpc/Test HTTP/1.1\r\nHost: localhost\r\nContent-Length: 10\r\n\r\n12345");
        EXPECT_EQ(late.readAll(), "");
    }

    void expectWholeAnswer(const std::string& headers) const {
        auto client = connect();
        client.send(post(request("Test::first"), headers));
        while (listener_->getStatus().waiting == 0)
            std::this_thread::yield();
        waitForATick();
        EXPECT_GE(client.readAnswer().body.size(), size);
        EXPECT_EQ(client.readAll(), ""); // closed once all is read
    }

    static constexpr std::size_t size = 20'000'000;
};

TEST_F(SlowReaderTest, GetsAllOfTheLastAnswer) {
    expectWholeAnswer("Connection: close\r\n");
}

TEST_F(SlowReaderTest, IsKeptAliveUntilItHasAllOfItsAnswer) {
    expectWholeAnswer("");
}

TEST_F(SlowReaderTest, IsNotDisconnectedWhileTheSystemStillHasSome) {
    const TempDirectory directory;
    const Listener listener({Address::parse("unix:" + directory.file("socket"))}, {{}, {}, ""},
                            {.limits = {.keepAlive = std::chrono::milliseconds(1)}});
    server_.on("first", TestServer::answerOfSize(50'000));
    WireClient client(listener.getAddresses().front());
    client.send(post(request("Test::first")));
    waitForATick();
    waitForATick();
    waitForATick();
    EXPECT_EQ(listener.getStatus().connections, 1u);
    EXPECT_GE(client.readAnswer().body.size(), 50'000u);
    EXPECT_EQ(client.readAll(), "");
}

TEST_F(SlowReaderTest, MayHaveEndedItsOwnSending) {
    auto client = connect();
    client.send(post(request("Test::first")));
    client.shutdownSend();
    EXPECT_GE(client.readAll().size(), size);
}

// What was called

TEST_F(ListenerTest, EveryRequestIsALineInTheLog) {
    server_.addObserver(requestLog_);
    listen();
    auto client = webSocket();
    client.call(echoRequest);
    client.call("[" + request("Test::nothing", 2) + R"(,{"jsonrpc":"2.0","method":"Test::echo"},7])");
    connect().post("/rpc/Test", echoRequest);
    const auto lines = log_.texts();
    const std::vector<std::string> expected = {
        R"(127\.0\.0\.1:\d+ #1: Test::echo: ok, \d+ us)",
        R"(unknown method "Test::nothing")", // told whether requests are logged or not
        R"(127\.0\.0\.1:\d+ #1: Test::nothing: error -32601 "unknown method "Test::nothing"", \d+ us)",
        R"(127\.0\.0\.1:\d+ #1: Test::echo: no reply wanted, \d+ us)",
        R"(refused: the message is not a JSON object)", // likewise
        R"(127\.0\.0\.1:\d+ #1: \(no method\): error -32600 "the message is not a JSON object", \d+ us)",
        R"(127\.0\.0\.1:\d+ #2: Test::echo: ok, \d+ us)",
    };
    ASSERT_EQ(lines.size(), expected.size());
    for (std::size_t i = 0; i < lines.size(); ++i)
        EXPECT_TRUE(std::regex_match(lines[i], std::regex(expected[i]))) << lines[i];
}

TEST_F(ListenerTest, RequestsAreNotLoggedUnasked) {
    listen();
    webSocket().call(echoRequest);
    EXPECT_EQ(log_.texts(), std::vector<std::string>());
}

// Departures

/// A request is being carried out that ends when the test lets it.
class DepartureTest : public ListenerTest {
protected:
    DepartureTest() {
        listen();
        server_.on("first", [this](const Call& call) {
            {
                const std::lock_guard lock(mutex_);
                peer_ = call.getPeer();
            }
            entered_.open();
            EXPECT_TRUE(gate_.pass());
            return TestServer::echo(call);
        });
    }
    ~DepartureTest() override {
        gate_.open();
        listener_.reset(); // the handler refers to what is about to go
    }

    void begin(WireClient& client, const std::string& bytes) {
        client.send(bytes);
        EXPECT_TRUE(entered_.pass());
    }

    /// While the work goes on; never returns otherwise.
    void expectDeparted() {
        while (listener_->getStatus().connections > 0)
            std::this_thread::yield();
        const std::lock_guard lock(mutex_);
        EXPECT_TRUE(peer_->gone);
    }

    Gate entered_;
    Gate gate_;
    std::mutex mutex_;
    std::shared_ptr<RPCPeer> peer_;
};

TEST_F(DepartureTest, HttpClientThatResetsHasGone) {
    auto client = connect();
    begin(client, post(request("Reader::first")));
    client.leave();
    expectDeparted();
}

TEST_F(DepartureTest, HttpClientThatClosesHasGone) {
    {
        auto client = connect();
        begin(client, post(request("Reader::first")));
    }
    expectDeparted();
}

TEST_F(DepartureTest, WebSocketClientThatClosesHasGone) {
    {
        auto client = webSocket();
        begin(client, frame(1, request("Reader::first")));
    }
    expectDeparted();
}

TEST_F(DepartureTest, UnixClientThatClosesHasGone) {
    const TempDirectory directory;
    listen({}, {{}, {}, ""}, {Address::parse("unix:" + directory.file("socket"))});
    {
        auto client = connect();
        begin(client, post(request("Reader::first")));
    }
    expectDeparted();
}

TEST_F(DepartureTest, HttpClientThatHasOnlyEndedItsSendingIsAnswered) {
    auto client = connect();
    begin(client, post(request("Reader::first")));
    client.shutdownSend();
    EXPECT_EQ(client.readAnswer().head, "HTTP/1.1 102 Processing\r\n\r\n");
    gate_.open();
    EXPECT_EQ(client.readAnswer().body, echoReply);
    EXPECT_EQ(client.readAll(), "");
}

// Its HTTP knows no interim response by which one could ask.
TEST_F(DepartureTest, OldHttpClientThatHasEndedItsSendingDoesNotKeepItsPlace) {
    auto old = connect();
    begin(old,
          "POST /rpc/Test HTTP/1.0\r\nHost: localhost\r\nContent-Type: application/json\r\nContent-Length: " +
              std::to_string(request("Reader::first").size()) + "\r\n\r\n" + request("Reader::first"));
    old.shutdownSend();
    EXPECT_EQ(old.readAll(), "");
    gate_.open();
}

// Quiet

/// How often the threads of the process but this one have waited for something.
std::map<std::string, long> waits() {
    std::map<std::string, long> result;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(task.path() / "status");
        for (std::string word; status >> word;)
            if (word == "voluntary_ctxt_switches:" && task.path().filename() != std::to_string(::gettid()))
                status >> result[task.path().filename()];
    }
    return result;
}

TEST_F(ListenerTest, NobodyToServeIsNoReasonToWakeUp) {
    std::thread([] {}).join(); // with the first thread a sanitizer may start its own
    const auto others = waits();
    listen();
    EXPECT_TRUE(exchange(get("/healthz")).starts_with("HTTP/1.1 200"));
    while (listener_->getStatus().connections > 0)
        std::this_thread::yield();
    const auto quiet = [&] {
        auto all = waits();
        std::erase_if(all, [&](const auto& each) { return others.contains(each.first); });
        return all;
    };
    // Of a tick that was asked for before, one may still come.
    std::this_thread::sleep_for(std::chrono::milliseconds(300));
    const auto before = quiet();
    std::this_thread::sleep_for(std::chrono::milliseconds(800)); // three ticks, if there were any
    EXPECT_EQ(quiet(), before);
}

TEST_F(ListenerTest, MemoryIsGivenBackWhenItIsQuietAgain) {
    listen();
    server_.on("first", TestServer::answerOfSize(20'000'000));
    const auto before = countTrims();
    EXPECT_GT(webSocket().call(request("Test::first")).size(), 20'000'000u);
    while (countTrims() == before)
        std::this_thread::yield();
}

TEST_F(DepartureTest, WhatWasMadeForAClientThatHasGoneIsGivenBack) {
    const auto before = countTrims();
    auto client = connect();
    begin(client, post(request("Reader::first")));
    client.leave();
    expectDeparted();
    gate_.open();
    while (countTrims() == before)
        std::this_thread::yield();
}

// Unix domain sockets

class UnixSocketTest : public ListenerTest {
protected:
    const TempDirectory directory_;
    const Address address_ = Address::parse("unix:" + directory_.file("socket"));
};

TEST_F(UnixSocketTest, SpeaksTheSameToItsOwnerAlone) {
    listen({}, {{}, {}, ""}, {address_, Address::parse("127.0.0.1:0")});
    struct stat status {};
    ASSERT_EQ(::stat(address_.path.c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777, 0600u);

    EXPECT_TRUE(exchange(get("/healthz", "", "GET", "any.host.at.all")).starts_with("HTTP/1.1 200"));
    EXPECT_EQ(connect().post("/rpc/Test", echoRequest).body, echoReply);
    EXPECT_EQ(webSocket().call(echoRequest), echoReply);

    EXPECT_EQ(WireClient(listener_->getAddresses()[1]).post("/rpc/Test", echoRequest).body, echoReply);
    listener_.reset();
    EXPECT_FALSE(std::filesystem::exists(address_.path));
}

TEST_F(UnixSocketTest, FileThatAnEarlierHostLeftBehindIsReplaced) {
    {
        const Listener first({address_}, {{}, {}, ""});
        std::filesystem::create_hard_link(address_.path, directory_.file("kept"));
    }
    std::filesystem::rename(directory_.file("kept"), address_.path);
    listen({}, {{}, {}, ""}, {address_});
    EXPECT_EQ(webSocket().call(echoRequest), echoReply);
    EXPECT_THROW(Listener({address_}, {{}, {}, ""}), StartError);
    EXPECT_EQ(webSocket().call(echoRequest), echoReply);
}

TEST_F(UnixSocketTest, ClientsAreLoggedByTheirNumberAlone) {
    server_.addObserver(requestLog_);
    listen({}, {{}, {}, ""}, {address_});
    connect().post("/rpc/Test", echoRequest);
    const auto lines = log_.texts();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_TRUE(lines[0].starts_with("unix #1: Test::echo: ok, ")) << lines[0];
}

// The end

TEST_F(ListenerTest, StopSaysGoodbyeToWebSockets) {
    listen();
    auto client = webSocket();
    client.call(echoRequest);
    std::thread reader([&] {
        EXPECT_EQ(client.readFrame().closeCode(), 1001);
        client.sendFrame(8, std::string("\x03\xe9", 2));
        EXPECT_TRUE(client.isClosedByPeer());
    });
    listener_->stop();
    reader.join();
    EXPECT_THROW(connect(), std::runtime_error);
}

TEST_F(ListenerTest, StopsInTheMiddleOfComingAndGoing) {
    for (int round = 0; round < 4; ++round) {
        listen();
        std::optional<WireClient> closing = webSocket();
        auto binary = webSocket();
        auto half = connect();
        half.send("GET /heal");
        binary.sendFrame(2, "x"); // is being closed
        closing.reset(); // is closing
        listener_.reset();
    }
}

TEST_F(ListenerTest, ServersLookAfterWhatAConnectionHasLeft) {
    // As often as they want to, though nobody comes or goes.
    std::atomic<int> rounds = 0;
    Gate enough;
    server_.onHousekeep = [&] {
        EXPECT_FALSE(Turn::tryTake());
        if (++rounds == 3)
            enough.open();
        return rounds < 3;
    };
    Limits limits;
    limits.housekeeping = std::chrono::milliseconds(1);
    listen(limits);
    webSocket().call(echoRequest);
    EXPECT_TRUE(enough.pass());
}

TEST_F(ListenerTest, AStopDoesNotWaitForConnectionsWithNothingToDo) {
    Limits limits;
    limits.closing = std::chrono::hours(1);
    listen(limits);
    auto keptAlive = connect();
    keptAlive.send(post(echoRequest));
    EXPECT_EQ(keptAlive.readAnswer().status, 200);
    auto silent = connect();
    exchange(get("/healthz")); // so that the silent one has been let in
    const auto begin = std::chrono::steady_clock::now();
    listener_->stop();
    const auto took = std::chrono::steady_clock::now() - begin;
    EXPECT_TRUE(keptAlive.isClosedByPeer());
    EXPECT_TRUE(silent.isClosedByPeer());
    // One that waits for its client takes all the time of a farewell.
    listen(limits);
    auto deaf = webSocket();
    const auto second = std::chrono::steady_clock::now();
    listener_->stop();
    EXPECT_LT(2 * took, std::chrono::steady_clock::now() - second);
}

TEST_F(ListenerTest, StopLeavesTheRestOfABatch) {
    listen();
    Gate entered;
    Gate gate;
    std::atomic<int> carriedOut = 0;
    server_.on("first", [&](const Call& call) {
        ++carriedOut;
        entered.open();
        EXPECT_TRUE(gate.pass());
        return TestServer::echo(call);
    });
    auto client = webSocket();
    std::string batch = "[" + request("Reader::echo");
    for (int i = 0; i < 50; ++i)
        batch += "," + request("Reader::first");
    client.sendText(batch + "]");
    EXPECT_TRUE(entered.pass());
    std::thread stopper([&] { listener_->stop(); });
    EXPECT_EQ(client.readFrame().closeCode(), 1001); // it has begun to stop
    EXPECT_TRUE(client.readAll().empty());
    gate.open();
    stopper.join();
    EXPECT_EQ(carriedOut, 1);
}

TEST_F(ListenerTest, StopWaitsForHandlersAndNotForClients) {
    listen();
    Gate entered;
    Gate gate;
    std::atomic<bool> ended = false;
    server_.on("first", [&](const Call& call) {
        entered.open();
        gate.pass();
        ended = true;
        return TestServer::echo(call);
    });
    auto client = webSocket();
    auto half = connect();
    half.send("POST /rpc/Test HTT");
    client.sendText(request("Reader::first"));
    EXPECT_TRUE(entered.pass());
    std::thread opener([&] { gate.open(); });
    listener_->stop();
    EXPECT_TRUE(ended);
    opener.join();
}

} // namespace
} // namespace Ostrel::Test
