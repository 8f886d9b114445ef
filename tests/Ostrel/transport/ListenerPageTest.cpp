#include "Ostrel/transport/Listener.h"

#include "tests/support/TestServer.h"
#include "tests/support/WireClient.h"

#include <gtest/gtest.h>

#include <array>
#include <string>
#include <thread>

namespace Ostrel::Test {
namespace {

/// A listener that serves a page of two files, and a server that wants a token.
class ListenerPageTest : public testing::Test {
protected:
    WireClient connect() const { return WireClient(listener_.getAddresses().front()); }

    static std::string request(const std::string& what, const std::string& headers = "") {
        return what + " HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n";
    }

    const std::string large_ = std::string(20'000'000, 'x'); ///< more than the system's buffers take
    const std::array<PageFile, 2> files_ = {{
        {"/index.html", "text/html", "<p>page</p>", "zipped", "tag", false},
        {"/large.txt", "text/plain", large_, {}, "large", false},
    }};
    TestServer server_;
    Listener listener_{{Address::parse("127.0.0.1:0")},
                       Admission({}, {}, "0123456789abcdefghijklmnopqrstuv"),
                       ListenerOptions{.page = files_}};
};

TEST_F(ListenerPageTest, AnAnswerTravelsLikeThis) {
    const std::string before = "HTTP/1.1 200 OK\r\n"
                               "X-Content-Type-Options: nosniff\r\n"
                               "Content-Type: text/html\r\n";
    const std::string policies =
        "Content-Security-Policy: default-src 'none'; script-src 'self'; style-src 'self'; "
        "img-src 'self' data:; connect-src 'self'; base-uri 'none'; form-action 'none'; "
        "frame-ancestors 'none'\r\n"
        "Referrer-Policy: no-referrer\r\n";
    const std::string behind = "ETag: W/\"tag\"\r\nCache-Control: no-cache\r\nVary: Accept-Encoding\r\n";
    auto client = connect();
    client.send(request("GET /") + request("GET /guide", "Accept-Encoding: gzip\r\n") +
                request("GET /", "Origin: http://localhost:1\r\nConnection: close\r\n"));
    EXPECT_EQ(
        client.readAll(),
        before + "Content-Length: 11\r\n" + policies + behind + "\r\n<p>page</p>" + //
            before + "Content-Length: 6\r\n" + policies + behind + "Content-Encoding: gzip\r\n\r\nzipped" +
            before +
            "Content-Length: 11\r\nAccess-Control-Allow-Origin: http://localhost:1\r\nVary: Origin\r\n" +
            policies + behind + "Connection: close\r\n\r\n<p>page</p>");
}

TEST_F(ListenerPageTest, OneConnectionIsKeptForAll) {
    auto client = connect();
    for (int i = 0; i < 3; ++i)
        client.send(request("GET /") + request("HEAD /large.txt") +
                    request("GET /", "If-None-Match: \"tag\"\r\n") + request("GET /gone.js") +
                    request("GET /../index.html") + request("GET /large.txt"));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(client.readAnswer().body, "<p>page</p>");
        EXPECT_NE(client.readAnswer(false).head.find("Content-Length: 20000000\r\n"), std::string::npos);
        const auto known = client.readAnswer(false);
        EXPECT_EQ(known.status, 304);
        EXPECT_EQ(known.head.find("Content-Length"), std::string::npos);
        EXPECT_EQ(client.readAnswer().status, 404);
        EXPECT_EQ(client.readAnswer().status, 400);
        EXPECT_TRUE(client.readAnswer().body == large_);
    }
}

TEST_F(ListenerPageTest, WhatWaitsForASlowReaderIsCounted) {
    auto slow = connect();
    for (int i = 0; i < 10; ++i)
        slow.send(request("GET /large.txt"));
    while (listener_.getStatus().waiting == 0)
        std::this_thread::yield();
    auto other = connect();
    other.send(request("GET /"));
    EXPECT_EQ(other.readAnswer().body, "<p>page</p>");
    // While much waits the next request is left unread.
    EXPECT_GT(listener_.getStatus().waiting, Limits().outbox);
    EXPECT_LT(listener_.getStatus().waiting, large_.size() + Limits().outbox);
    for (int i = 0; i < 10; ++i)
        EXPECT_TRUE(slow.readAnswer().body == large_);
    while (listener_.getStatus().waiting != 0)
        std::this_thread::yield();
}

TEST_F(ListenerPageTest, ATokenIsForCallsAlone) {
    auto client = connect();
    client.send(request("GET /") + request("GET /rpc/Test") + request("GET /large.txt"));
    EXPECT_EQ(client.readAnswer().status, 200);
    EXPECT_EQ(client.readAnswer().status, 401);
    EXPECT_EQ(client.readAnswer().status, 200);
}

} // namespace
} // namespace Ostrel::Test
