// What HTTP answers, and what stands in each answer.

#include "tests/limits/FromOutside.h"
#include "tests/limits/WireTables.h"

#include <ostream>
#include <set>
#include <string>

namespace Ostrel::Test {
namespace {

struct Row {
    const char* name;
    int status;
    std::string text;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.name;
}

std::string get(const std::string& path, const std::string& headers = "Host: localhost\r\n") {
    return "GET " + path + " HTTP/1.1\r\n" + headers + "\r\n";
}

const std::string made = request("ITVService::createContext");

// clang-format off
const Row rows[] = {
    {"Reply",          200, post("/rpc/TV", made)},
    {"Health",         200, get("/healthz")},
    {"Description",    200, get("/openrpc/TV.json")},
    {"NothingToReply", 204, post("/rpc/TV", R"({"jsonrpc":"2.0","method":"ITVService::createContext"})")},
    {"Preflight",      204, "OPTIONS /rpc/TV HTTP/1.1\r\nHost: localhost\r\n\r\n"},
    {"NoHttp",         400, "nonsense\r\n\r\n"},
    {"NoHost",         400, get("/healthz", "")},
    {"TwoHosts",       400, get("/healthz", "Host: localhost\r\nHost: localhost\r\n")},
    {"Chunked",        400, "POST /rpc/TV HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked\r\n\r\n0\r\n\r\n"},
    {"OddKey",         400, get("/rpc/TV", "Host: localhost\r\nConnection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 13\r\nSec-WebSocket-Key: short\r\n")},
    {"OtherHost",      403, get("/", "Host: evil.example\r\n")},
    {"OtherOrigin",    403, post("/rpc/TV", made, from("https://evil.example"))},
    {"NoPath",         404, get("/no/such/path")},
    {"NoServer",       404, get("/rpc/None")},
    {"WrongMethod",    405, "DELETE /rpc/TV HTTP/1.1\r\nHost: localhost\r\n\r\n"},
    {"NoLength",       411, "POST /rpc/TV HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n\r\n"},
    {"LongBody",       413, "POST /rpc/TV HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\nContent-Length: 1048577\r\n\r\n"},
    {"OtherType",      415, post("/rpc/TV", made, "", "localhost", "text/plain")},
    {"NoUpgrade",      426, get("/rpc/TV")},
    {"OldWebSocket",   426, get("/rpc/TV", "Host: localhost\r\nConnection: Upgrade\r\nUpgrade: websocket\r\nSec-WebSocket-Version: 8\r\nSec-WebSocket-Key: dGhlIHNhbXBsZSBub25jZQ==\r\n")},
    {"LongHead",       431, get("/healthz", "Host: localhost\r\nX: " + std::string(17'000, 'x') + "\r\n")},
};
// clang-format on

class Statuses : public FromOutside, public testing::WithParamInterface<Row> {};

TEST_P(Statuses, SayWhatWasWrongAndForbidSniffing) {
    auto client = connect();
    client.send(GetParam().text);
    const auto answer = client.readAnswer();
    EXPECT_EQ(answer.status, GetParam().status);
    EXPECT_NE(answer.head.find("X-Content-Type-Options: nosniff\r\n"), std::string::npos) << answer.head;
    EXPECT_EQ(answer.head.find("Access-Control-Allow-Origin"), std::string::npos) << answer.head;
    if (answer.status >= 400) {
        EXPECT_NE(answer.head.find("Content-Type: text/plain"), std::string::npos);
        EXPECT_EQ(answer.body.find('\n'), answer.body.size() - 1) << answer.body;
    }
    EXPECT_EQ(answer.status == 405,
              answer.head.find("Allow: GET, HEAD, POST, OPTIONS\r\n") != std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(Rows, Statuses, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(StatusTest, EachOfTheWireIsAnswered) {
    std::set<std::string> told, answered{"401", "503"}; // Tokens.NothingElseDoes, SharedLimits
    for (const auto& row : readTable("### What HTTP answers"))
        for (std::size_t at = 0; at < row.at(0).size(); at += 5)
            told.insert(row.at(0).substr(at, 3));
    for (const auto& row : rows)
        if (row.status >= 400)
            answered.insert(std::to_string(row.status));
    EXPECT_EQ(told, answered);
}

} // namespace
} // namespace Ostrel::Test
