#include "Ostrel/transport/Http.h"

#include "tests/support/TestServer.h"

#include <boost/beast/http/error.hpp>
#include <gtest/gtest.h>

#include <sstream>

namespace Ostrel::Test {
namespace {

namespace http = boost::beast::http;

const std::string mainServer = "Test";
constexpr const char* token = "0123456789abcdefghijklmnopqrstuv";

constexpr PageFile files[] = {{"/index.html", "text/html", "page\n", "gzip\n", "1", false}};
const Page noPage{{}};

/// Reads "POST /path" and its headers, one a line, as a request.
Http::Request requestOf(const std::string& text) {
    std::istringstream lines(text);
    std::string method;
    std::string target;
    lines >> method >> target;
    Http::Request request;
    request.method_string(method);
    request.target(target);
    std::string line;
    std::getline(lines, line);
    while (std::getline(lines, line))
        request.insert(line.substr(0, line.find(": ")), line.substr(line.find(": ") + 2));
    return request;
}

std::string describe(const Answer& answer) {
    auto text = std::to_string(unsigned(answer.status)) + (answer.last ? " last" : "");
    if (!answer.body.empty())
        text += ": " + answer.body.substr(0, answer.body.size() - 1);
    return text;
}

std::string describe(const Http::Outcome& outcome) {
    struct Describe {
        std::string operator()(const Answer& answer) const { return describe(answer); }
        std::string operator()(const Http::Call& call) const { return "call " + call.server.getName(); }
        std::string operator()(const Http::Upgrade& upgrade) const {
            return "upgrade " + upgrade.server.getName() + " [" + upgrade.subProtocol + ']';
        }
    };
    return std::visit(Describe(), outcome);
}

std::string outcomeOf(const Http& http, const std::string& text) {
    const auto request = requestOf(text);
    if (const auto refusal = http.refuseHead(request))
        return describe(*refusal);
    return describe(http.decide(request));
}

struct Row {
    const char* name;
    std::string request;
    const char* outcome;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.name;
}

const std::string bearer = std::string("\nAuthorization: Bearer ") + token;
const std::string upgrade = "GET /rpc/Test\nHost: localhost\nConnection: Upgrade\nUpgrade: websocket"
                            "\nSec-WebSocket-Version: 13\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==";
const std::string post = "POST /rpc/Test\nHost: localhost\nContent-Length: 2\nContent-Type: ";

// clang-format off
const Row rows[] = {
    {"Call",            post + "application/json" + bearer,               "call Test"},
    {"CallWithCharset", post + "APPLICATION/JSON-RPC ; charset=x" + bearer, "call Test"},
    {"CallOldType",     post + "application/jsonrequest" + bearer,        "call Test"},
    {"CallAsText",      post + "text/plain" + bearer,                     "415: the body must be JSON; send Content-Type: application/json"},
    {"CallWithout",     post + "application/json",                        "401: the right token is needed: Authorization: Bearer TOKEN"},
    {"CallNoLength",    "POST /rpc/Test\nHost: localhost" + bearer,       "411 last: Content-Length is missing"},
    {"Upgrade",         upgrade + bearer,                                 "upgrade Test []"},
    {"UpgradeChoosing", upgrade + bearer + "\nSec-WebSocket-Protocol: a\nSec-WebSocket-Protocol: jsonrpc", "upgrade Test [jsonrpc]"},
    {"UpgradeToken",    upgrade + "\nSec-WebSocket-Protocol: bearer." + token + ", a", "upgrade Test [a]"},
    {"UpgradeWithout",  upgrade,                                          "401: the right token is needed: Authorization: Bearer TOKEN"},
    {"PlainGet",        "GET /rpc/Test\nHost: localhost" + bearer,        "426: send JSON-RPC 2.0 by POST with Content-Type: application/json, or open a WebSocket here"},
    {"Preflight",       "OPTIONS /rpc/Test\nHost: localhost",             "204"},
    {"Delete",          "DELETE /rpc/Test\nHost: localhost" + bearer,     "405: the method is not one of GET, HEAD, POST, OPTIONS"},
    {"DeleteWithout",   "DELETE /rpc/Test\nHost: localhost",              "401: the right token is needed: Authorization: Bearer TOKEN"},
    {"NoServerWithout", "GET /rpc/Best\nHost: localhost",                 "401: the right token is needed: Authorization: Bearer TOKEN"},
    {"NoServer",        "GET /rpc/Best\nHost: localhost" + bearer,        "404: no RPC server has the name Best"},
    {"Elsewhere",       "GET /a.js\nHost: localhost",                     "404: there is nothing here; calls go to /rpc/Test"},
    {"Page",            "GET /\nHost: localhost",                         "200: page"},
    {"PageAbsolute",    "HEAD http://localhost\nHost: localhost",         "200: page"},
    {"PageOfQuery",     "GET /?a=/../b\nHost: localhost",                 "200: page"},
    {"PagePost",        "POST /\nHost: localhost\nContent-Length: 0" + bearer, "405: the method is not one of GET, HEAD"},
    {"PageZipped",      "GET /\nHost: localhost\nAccept-Encoding: br\nAccept-Encoding: gzip", "200: gzip"},
    {"PageKnown",       "GET /\nHost: localhost\nIf-None-Match: \"0\"\nIf-None-Match: \"1\"", "304"},
    {"PageKnownOnce",   "GET /\nHost: localhost\nIf-None-Match: *",       "304"},
    {"PageClimbing",    "GET /../b\nHost: localhost",                     "400: a path here is words of letters, digits and -._~ behind one slash each, 255 bytes at most"},
    {"PlaceInPage",     "GET /guide\nHost: localhost",                    "200: page"},
    {"NoPlaceCalls",    "GET /rpc\nHost: localhost",                      "404: there is nothing here; calls go to /rpc/Test"},
    {"NoPlaceDescribed", "GET /openrpc\nHost: localhost",                 "404: there is nothing here; calls go to /rpc/Test"},
    {"PageOfAnyPage",   "GET /\nHost: localhost\nOrigin: http://evil.example", "403 last: pages from http://evil.example may not call; allow them with --page http://evil.example"},
    {"Described",       "GET /openrpc.json\nHost: localhost" + bearer,     "200: {\"openrpc\":1}"},
    {"DescribedByName", "HEAD /openrpc/Test.json?a\nHost: localhost" + bearer, "200: {\"openrpc\":1}"},
    {"DescribedNobody", "GET /openrpc/Best.json\nHost: localhost" + bearer, "404: no RPC server has the name Best"},
    {"DescribedNoName", "GET /openrpc/.json\nHost: localhost" + bearer,    "404: no RPC server has the name "},
    {"DescribedWithout", "GET /openrpc.json\nHost: localhost",             "401: the right token is needed: Authorization: Bearer TOKEN"},
    {"DescribedAsked",  "OPTIONS /openrpc.json\nHost: localhost",          "204"},
    {"DescribedPost",   "POST /openrpc.json\nHost: localhost\nContent-Length: 0" + bearer, "405: the method is not one of GET, HEAD, OPTIONS"},
    {"MetricsNoToken",  "GET /metrics\nHost: localhost",                  "401: the right token is needed: Authorization: Bearer TOKEN"},
    {"MetricsPostWithout", "POST /metrics\nHost: localhost\nContent-Length: 0", "401: the right token is needed: Authorization: Bearer TOKEN"},
    {"MetricsPost",     "POST /metrics\nHost: localhost\nContent-Length: 0" + bearer, "405: the method is not one of GET, HEAD"},
    {"Health",          "GET /healthz\nHost: localhost",                  "200: ok"},
    {"HealthAbsolute",  "GET http://localhost/healthz?a\nHost: localhost", "200: ok"},
    {"HealthOfAnyHost", "GET /healthz\nHost: evil.example",               "200: ok"},
    {"HealthOfAnyPage", "GET /healthz\nHost: localhost\nOrigin: http://evil.example", "403 last: pages from http://evil.example may not call; allow them with --page http://evil.example"},
    {"HealthOfNoHost",  "GET /healthz",                                   "400 last: one Host header is needed"},
    {"HealthPost",      "POST /healthz\nHost: localhost\nContent-Length: 0", "405: the method is not one of GET, HEAD"},
    {"ForeignHost",     "GET /\nHost: evil.example:80",                   "403 last: Host evil.example:80 is not this machine; allow it with --name evil.example"},
    {"ForeignHost6",    "GET /\nHost: [fe80::1]:80",                      "403 last: Host [fe80::1]:80 is not this machine; allow it with --name [fe80::1]"},
    {"OddHost",         "GET /\nHost: \x1b[31m",                          "403 last: Host \\x1b[31m is not this machine; allow it with --name \\x1b[31m"},
    {"TwoOrigins",      "GET /\nHost: localhost\nOrigin: http://localhost\nOrigin: http://a", "403 last: more than one Origin header"},
    {"EmptyOrigin",     "GET /healthz\nHost: localhost\nOrigin: ", "403 last: the Origin header is empty"},
    {"OriginOfNoPort",  "GET /healthz\nHost: localhost\nOrigin: http://127.0.0.1:99999", "403 last: pages from http://127.0.0.1:99999 may not call; allow them with --page http://127.0.0.1:99999"},
    {"HostOfNoPort",    "GET /\nHost: 127.0.0.1:99999999", "403 last: Host 127.0.0.1:99999999 is not this machine; allow it with --name 127.0.0.1"},
    {"KnownOrigin",     "GET /healthz\nHost: localhost\nOrigin: https://tv.example", "200: ok"},
    {"Chunked",         "POST /rpc/Test\nHost: localhost\nTransfer-Encoding: chunked", "400 last: Transfer-Encoding is not taken; send Content-Length"},
};
// clang-format on

class HttpOutcomeTable : public testing::TestWithParam<Row> {
protected:
    const TestServer server_;
    const Admission admission_{{"https://tv.example"}, {}, token};
    const Page page_{files};
    const Advice advice_{.foreignHost = "allow it with --name", .foreignOrigin = "allow them with --page"};
    const Http http_{admission_, advice_, mainServer, page_, "127.0.0.1"};
};

TEST_P(HttpOutcomeTable, ComesToThis) {
    EXPECT_EQ(outcomeOf(http_, GetParam().request), GetParam().outcome);
}

INSTANTIATE_TEST_SUITE_P(Rows, HttpOutcomeTable, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(HttpTest, AServerWithoutADescriptionHasNoDocument) {
    TestServer server;
    server.description.clear();
    const Admission admission({}, {}, "");
    const Advice none;
    const Http http(admission, none, mainServer, noPage, "");
    EXPECT_EQ(outcomeOf(http, "GET /openrpc.json"), "404: no RPC server has the name Test");
}

TEST(HttpTest, WithoutAdviceNoWayOutIsNamed) {
    const Admission admission({}, {}, "");
    const Advice none;
    const Http http(admission, none, mainServer, noPage, "127.0.0.1");
    EXPECT_EQ(outcomeOf(http, "GET /\nHost: a.example"), "403 last: Host a.example is not this machine");
    EXPECT_EQ(outcomeOf(http, "GET /\nHost: localhost\nOrigin: null"),
              "403 last: pages from null may not call");
    EXPECT_EQ(outcomeOf(http, "GET /\nHost: localhost"), "404: there is nothing here");
    EXPECT_EQ(outcomeOf(http, "GET /healthz\nHost: localhost"), "503: no server is running");
}

TEST(HttpTest, WhereThereIsNoPageItsPathTellsTheWayToIt) {
    const Admission admission({}, {}, "");
    const Advice advice{.noPage = "build it in"};
    const Http http(admission, advice, mainServer, noPage, "127.0.0.1");
    EXPECT_EQ(outcomeOf(http, "GET /\nHost: localhost"), "404: there is nothing here; build it in");
    EXPECT_EQ(outcomeOf(http, "GET /guide\nHost: localhost"), "404: there is nothing here");
}

TEST(HttpTest, ClientsOfAUnixSocketMayNameAnyHost) {
    const Admission admission({}, {}, "");
    const Advice none;
    const Http http(admission, none, mainServer, noPage, "");
    EXPECT_EQ(outcomeOf(http, "GET /\nHost: a.example"), "404: there is nothing here");
    EXPECT_EQ(outcomeOf(http, "GET /"), "404: there is nothing here");
}

TEST(HttpTest, OnlyAPageOfAnotherOriginIsNamed) {
    const Admission admission({"https://tv.example"}, {}, "");
    const Advice none;
    const Http http(admission, none, mainServer, noPage, "127.0.0.1");
    const auto allowed = [&](const std::string& origin) {
        return http.getAllowedOrigin(requestOf("GET /\nHost: localhost:1" + origin));
    };
    EXPECT_EQ(allowed("\nOrigin: https://tv.example"), "https://tv.example");
    EXPECT_EQ(allowed("\nOrigin: http://localhost:1"), "");
    EXPECT_EQ(allowed("\nOrigin: http://evil.example"), "");
    EXPECT_EQ(allowed(""), "");
    EXPECT_EQ(allowed("\nOrigin: "), "");
    EXPECT_EQ(allowed("\nOrigin: https://tv.example\nOrigin: https://tv.example"), "");
}

TEST(HttpTest, WhatCannotBeReadIsAnsweredUnlessTheClientHasGone) {
    const auto answer = [](http::error failure) {
        const auto answered = Http::answerFailure(failure);
        return answered ? describe(*answered).substr(0, 8) : "none";
    };
    EXPECT_EQ(answer(http::error::header_limit), "431 last");
    EXPECT_EQ(answer(http::error::body_limit), "413 last");
    EXPECT_EQ(answer(http::error::bad_version), "400 last");
    EXPECT_EQ(answer(http::error::end_of_stream), "none");
    EXPECT_EQ(answer(http::error::partial_message), "none");
    EXPECT_FALSE(Http::answerFailure(boost::system::errc::make_error_code(boost::system::errc::io_error)));
}

} // namespace
} // namespace Ostrel::Test
