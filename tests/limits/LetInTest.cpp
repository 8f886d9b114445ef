// Who is let in, told by Host, Origin and what the host was started with.

#include "tests/limits/FromOutside.h"

#include <algorithm>
#include <ostream>
#include <string>
#include <vector>

#include <arpa/inet.h>
#include <ifaddrs.h>
#include <net/if.h>
#include <netinet/in.h>

namespace Ostrel::Test {
namespace {

const std::string nosniff = "X-Content-Type-Options: nosniff\r\n";

/// A host with its log, on whose clock one sees what was carried out.
class Watched {
public:
    explicit Watched(const Arguments& options) : host_(OSTREL_TVD_PROGRAM, with(options), {}) {}

    WireClient connect() const { return WireClient(host_.address()); }
    WireClient connectLocally() const { return WireClient(socketFile_); }
    std::uint16_t port() const { return host_.address().port; }

    bool isTouched() const {
        const auto clock = connectLocally().post("/rpc/Simulator", request("Simulator::clockGet")).body;
        return clock.find(R"("now":1318766400)") == std::string::npos;
    }

    /// Ends the host. Returns what it logged of refusals, a line each.
    std::vector<std::string> takeRefusals() {
        host_.child().terminate();
        EXPECT_EQ(host_.child().wait(), 0);
        std::istringstream log(host_.child().readErrors());
        std::vector<std::string> lines;
        for (std::string line; std::getline(log, line);)
            if (const auto at = line.find("] refused: "); at != std::string::npos)
                lines.push_back(line.substr(at + 11));
        return lines;
    }

private:
    Arguments with(const Arguments& options) const {
        Arguments all{"--listen", "127.0.0.1:0", "--listen",   socketFile_.toString(),
                      "--hold",   "--now",       "@1318766400"};
        all.insert(all.end(), options.begin(), options.end());
        return all;
    }

    const TempDirectory directory_;
    const Address socketFile_ = Address::parse("unix:" + directory_.file("socket"));
    RunningHost host_;
};

struct Way {
    const char* name;
    std::string start; ///< the request's first line
    std::string rest; ///< headers behind Host and Origin, and the body
    int status; ///< for whom is let in
};

const std::string touch = request("Simulator::clockSet", R"({"now":1})");

const std::vector<Way>& ways() {
    static const std::string size = std::to_string(touch.size());
    static const std::vector<Way> all = {
        {"Post", "POST /rpc/Simulator",
         "Content-Type: application/json\r\nContent-Length: " + size + "\r\n\r\n" + touch, 200},
        {"WebSocket", "GET /rpc/Simulator",
         "Connection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\n"
         "Sec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n\r\n",
         101},
        {"Preflight", "OPTIONS /rpc/Simulator", "Access-Control-Request-Method: POST\r\n\r\n", 204},
        {"Description", "GET /openrpc.json", "\r\n", 200},
        {"Form", "POST /rpc/Simulator",
         "Content-Type: text/plain\r\nContent-Length: " + size + "\r\n\r\n" + touch, 415},
        {"Nothing", "GET /nothing/here", "\r\n", 404},
    };
    return all;
}

struct Row {
    const char* name;
    std::string host; ///< "PORT" stands for the one of the listener
    std::string origins; ///< headers
    bool isIn;
    bool isRead; ///< by another origin's page, which needs its allowance
    std::string why; ///< of the refusal
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.name;
}

// clang-format off
const Row rows[] = {
    {"NoBrowser",       "localhost",             "",                               true,  false, ""},
    {"AtThePort",       "127.0.0.1:PORT",        "",                               true,  false, ""},
    {"Ipv6Loopback",    "[::1]:PORT",            "",                               true,  false, ""},
    {"NamedHost",       "box:99",                "",                               true,  false, ""},
    {"OwnPage",         "box:99",                from("http://box:99"),            true,  false, ""},
    {"OwnPageBehindTls","box",                   from("https://box"),              true,  false, ""},
    {"Loopback",        "127.0.0.1:PORT",        from("http://localhost:3000"),    true,  true,  ""},
    {"LoopbackAddress", "localhost:PORT",        from("https://127.0.0.1:1"),      true,  true,  ""},
    {"Loopback6",       "localhost:PORT",        from("http://[::1]:65535"),       true,  true,  ""},
    {"NamedOrigin",     "localhost:PORT",        from("https://tv.example"),       true,  true,  ""},
    {"AnotherPort",     "box:99",                from("http://box:98"),            false, false, "pages from http://box:98 may not call; allow them with --allow-origin http://box:98"},
    {"AnotherScheme",   "localhost",             from("http://tv.example"),        false, false, "pages from http://tv.example may not call; allow them with --allow-origin http://tv.example"},
    {"AnotherOrigin",   "localhost",             from("https://evil.example"),     false, false, "pages from https://evil.example may not call; allow them with --allow-origin https://evil.example"},
    {"LooksLoopback",   "localhost",             from("http://127.0.0.1.evil.example"), false, false, "pages from http://127.0.0.1.evil.example may not call; allow them with --allow-origin http://127.0.0.1.evil.example"},
    {"LooksNamed",      "localhost",             from("https://tv.example.evil.example"), false, false, "pages from https://tv.example.evil.example may not call; allow them with --allow-origin https://tv.example.evil.example"},
    {"Null",            "localhost",             from("null"),                     false, false, "pages from null may not call; allow them with --allow-origin null"},
    {"EmptyOrigin",     "localhost",             from(""),                         false, false, "the Origin header is empty"},
    {"TwoOrigins",      "localhost",             from("https://tv.example") + from("https://tv.example"), false, false, "more than one Origin header"},
    {"AnotherHost",     "evil.example:PORT",     "",                               false, false, "Host evil.example:PORT is not this machine; allow it with --allow-host evil.example"},
    {"LooksLocal",      "127.0.0.1.evil.example","",                               false, false, "Host 127.0.0.1.evil.example is not this machine; allow it with --allow-host 127.0.0.1.evil.example"},
    {"Rebound",         "evil.example:PORT",     from("http://evil.example:PORT"), false, false, "Host evil.example:PORT is not this machine; allow it with --allow-host evil.example"},
};
// clang-format on

class LetIn : public testing::TestWithParam<Row> {};

std::string filled(std::string text, std::uint16_t port) {
    for (auto at = text.find("PORT"); at != std::string::npos; at = text.find("PORT"))
        text.replace(at, 4, std::to_string(port));
    return text;
}

TEST_P(LetIn, OrAnswered403WithTheFlagAndOneLine) {
    const auto& row = GetParam();
    Watched host({"--allow-origin", "https://tv.example", "--allow-host", "box"});
    const auto why = filled(row.why, host.port());
    for (const auto& way : ways()) {
        auto client = host.connect();
        client.send(filled(way.start + " HTTP/1.1\r\nHost: " + row.host + "\r\n" + row.origins, host.port()) +
                    way.rest);
        const auto answer = client.readAnswer();
        EXPECT_EQ(answer.status, row.isIn ? way.status : 403) << way.name;
        EXPECT_NE(answer.head.find(nosniff), std::string::npos) << way.name;
        const bool isReadable = answer.head.find("Access-Control-Allow-Origin: ") != std::string::npos;
        EXPECT_EQ(isReadable, row.isRead && answer.status != 101) << way.name;
        EXPECT_EQ(answer.head.find("Vary: Origin\r\n") != std::string::npos, isReadable) << way.name;
        if (!row.isIn) {
            EXPECT_EQ(answer.body, why + '\n') << way.name;
        }
    }
    EXPECT_EQ(host.isTouched(), row.isIn);
    EXPECT_EQ(host.takeRefusals(), std::vector(row.isIn ? 0 : ways().size(), why));
}

INSTANTIATE_TEST_SUITE_P(Rows, LetIn, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

int statusOf(WireClient client, const std::string& path, const std::string& headers) {
    client.send("GET " + path + " HTTP/1.1\r\n" + headers + "\r\n");
    return client.readAnswer().status;
}

TEST(LetInTest, NullMayBeNamed) {
    const Watched host({"--allow-origin", "null"});
    auto client = host.connect();
    client.send(post("/rpc/Simulator", touch, from("null")));
    const auto answer = client.readAnswer();
    EXPECT_EQ(answer.status, 200);
    EXPECT_NE(answer.head.find("Access-Control-Allow-Origin: null\r\n"), std::string::npos);
}

TEST(LetInTest, ASocketFileTakesAnyHostAndNotAnyOrigin) {
    const Watched host({});
    for (const auto* name : {"Host: evil.example\r\n", "Host: \r\n", ""})
        EXPECT_EQ(statusOf(host.connectLocally(), "/openrpc.json", name), 200) << name;
    auto client = host.connectLocally();
    client.send(post("/rpc/Simulator", touch, from("https://evil.example")));
    EXPECT_EQ(client.readAnswer().status, 403);
    EXPECT_FALSE(host.isTouched());
}

TEST(LetInTest, AnyHostMayAskForHealth) {
    const Watched host({});
    EXPECT_EQ(statusOf(host.connect(), "/healthz", "Host: evil.example\r\n"), 200);
    EXPECT_EQ(statusOf(host.connect(), "/healthz2", "Host: evil.example\r\n"), 403);
    EXPECT_EQ(statusOf(host.connect(), "/openrpc.json?/healthz", "Host: evil.example\r\n"), 403);
}

TEST(LetInTest, APreflightIsToldWhatIsFine) {
    const Watched host({});
    auto client = host.connect();
    client.send("OPTIONS /rpc/TV HTTP/1.1\r\nHost: localhost\r\nOrigin: http://localhost:3000\r\n"
                "Access-Control-Request-Method: POST\r\n\r\n");
    const auto answer = client.readAnswer();
    EXPECT_EQ(answer.status, 204);
    for (const auto* header :
         {"Access-Control-Allow-Origin: http://localhost:3000\r\n", "Vary: Origin\r\n",
          "Access-Control-Allow-Methods: POST\r\n",
          "Access-Control-Allow-Headers: content-type, authorization\r\n", "Access-Control-Max-Age: "})
        EXPECT_NE(answer.head.find(header), std::string::npos) << header;
    EXPECT_EQ(answer.head.find("Access-Control-Allow-Credentials"), std::string::npos);
}

/// An IPv4 address of this machine that others reach; loopback when it has none.
std::string addressForOthers() {
    ifaddrs* all = nullptr;
    std::string found = "127.0.0.1";
    if (::getifaddrs(&all) != 0)
        return found;
    for (const auto* each = all; each != nullptr && found == "127.0.0.1"; each = each->ifa_next) {
        const bool isUp = (each->ifa_flags & IFF_UP) != 0 && (each->ifa_flags & IFF_LOOPBACK) == 0;
        if (!isUp || each->ifa_addr == nullptr || each->ifa_addr->sa_family != AF_INET)
            continue;
        char text[INET_ADDRSTRLEN] = "";
        const auto* address = reinterpret_cast<const sockaddr_in*>(each->ifa_addr);
        found = ::inet_ntop(AF_INET, &address->sin_addr, text, sizeof text);
    }
    ::freeifaddrs(all);
    return found;
}

TEST(LetInTest, TheAddressThatWasReachedMayBeNamed) {
    const auto reached = addressForOthers();
    const TempDirectory directory;
    const auto token = directory.file("token");
    Child maker("/bin/sh", {"-c", "umask 077; echo 0123456789abcdef0123456789abcdef >\"$0\"", token});
    ASSERT_EQ(maker.wait(), 0);
    Child host(OSTREL_TVD_PROGRAM, {"--listen", "0.0.0.0:0", "--token-file", token});
    const auto line = host.readLine();
    const auto port = std::stoi(line.substr(line.rfind(':') + 1));
    const Address there{reached, std::uint16_t(port), {}};
    EXPECT_EQ(statusOf(WireClient(there), "/rpc/TV", "Host: " + there.toString() + "\r\n"), 401);
    EXPECT_EQ(statusOf(WireClient(there), "/rpc/TV", "Host: 203.0.113.9\r\n"), 403);
    host.terminate();
    EXPECT_EQ(host.wait(), 0);
}

TEST(LetInTest, ASubProtocolIsChosen) {
    const Watched host({});
    const auto chosenOf = [&](const std::string& offers) {
        const auto head = host.connect().upgrade(
            "/rpc/TV", offers.empty() ? "" : "Sec-WebSocket-Protocol: " + offers + "\r\n");
        const std::string name = "Sec-WebSocket-Protocol: ";
        const auto at = head.find(name);
        return at == std::string::npos
                   ? std::string()
                   : head.substr(at + name.size(), head.find('\r', at) - at - name.size());
    };
    EXPECT_EQ(chosenOf(""), "");
    EXPECT_EQ(chosenOf("jsonrpc"), "jsonrpc");
    EXPECT_EQ(chosenOf("chat, jsonrpc"), "jsonrpc");
    EXPECT_EQ(chosenOf("bearer.secret, chat, wamp"), "chat");
    EXPECT_EQ(chosenOf("bearer.secret"), "");
}

} // namespace
} // namespace Ostrel::Test
