// Who is let in by a token, and that nobody else gets to see it.

#include "tests/limits/FromOutside.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

namespace Ostrel::Test {
namespace {

const std::string token = "0123456789-_ABCDEFghijklmnopqrst";

std::string bearing(const std::string& text) {
    return "Authorization: " + text + "\r\n";
}

std::string offering(const std::string& offers) {
    return "Sec-WebSocket-Protocol: " + offers + "\r\n";
}

class TokenFile {
public:
    explicit TokenFile(const std::string& text, unsigned mode = 0600) {
        std::ofstream(path) << text;
        std::filesystem::permissions(path, std::filesystem::perms(mode));
    }

private:
    const TempDirectory directory_;

public:
    const std::string path = directory_.file("token");
};

class Tokens : public testing::Test {
protected:
    void SetUp() override {
        const Arguments options{"--listen", "127.0.0.1:0",    "--token-file", file_.path, "--log-level",
                                "progress", "--log-requests", "--record",     record()};
        host_.emplace(OSTREL_TVD_PROGRAM, options, Arguments());
    }

    std::string record() const { return directory_.file("record"); }

    WireClient::Answer ask(const std::string& text) {
        WireClient client(host_->address());
        client.send(text);
        auto answer = client.readAnswer(!text.starts_with("HEAD"));
        said_ += answer.head + answer.body;
        return answer;
    }

    WireClient::Answer postWith(const std::string& headers, const std::string& path = "/rpc/TV") {
        return ask(post(path, request("ITVService::createContext"), headers));
    }

    WireClient::Answer upgradeWith(const std::string& headers) {
        return ask(upgradeRequest("/rpc/TV", headers));
    }

    WireClient::Answer get(const std::string& path, const std::string& headers = {}) {
        return ask("GET " + path + " HTTP/1.1\r\nHost: localhost\r\n" + headers + "\r\n");
    }

    const TokenFile file_{token + "\n"};
    const TempDirectory directory_;
    std::optional<RunningHost> host_;
    std::string said_; ///< all answers
};

TEST_F(Tokens, LetIn) {
    for (const auto& headers : {bearing("Bearer " + token), bearing("bearer   " + token)}) {
        EXPECT_EQ(postWith(headers).status, 200) << headers;
        EXPECT_EQ(upgradeWith(headers).status, 101) << headers;
        EXPECT_EQ(get("/openrpc.json", headers).status, 200) << headers;
    }
    for (const auto& offers :
         {"jsonrpc, bearer." + token, "bearer." + token + ",jsonrpc", "bearer." + token}) {
        const auto answer = upgradeWith(offering(offers));
        EXPECT_EQ(answer.status, 101) << offers;
        EXPECT_EQ(answer.head.find("bearer"), std::string::npos) << offers;
    }
}

TEST_F(Tokens, NothingElseDoes) {
    auto nearly = token;
    nearly.back() = 'u';
    std::string log;
    unsigned refused = 0;
    const auto expectRefused = [&](const WireClient::Answer& answer, const std::string& what) {
        EXPECT_EQ(answer.status, 401) << what;
        EXPECT_NE(answer.head.find("WWW-Authenticate: Bearer\r\n"), std::string::npos) << what;
        EXPECT_NE(answer.head.find("X-Content-Type-Options: nosniff\r\n"), std::string::npos) << what;
        EXPECT_EQ(answer.body, "the right token is needed: Authorization: Bearer TOKEN\n");
        ++refused;
    };
    for (const auto& headers :
         {std::string(), bearing("Bearer"), bearing("Bearer "), bearing("Bearer " + nearly),
          bearing("Bearer " + token + "x"), bearing("Bearer " + token.substr(1)), bearing("Basic " + token),
          bearing(token), bearing("Bearer x " + token), "X-Authorization: Bearer " + token + "\r\n",
          "Cookie: bearer." + token + "\r\n"}) {
        expectRefused(postWith(headers), headers);
        expectRefused(upgradeWith(headers), headers);
    }
    for (const auto& offers :
         {"bearer." + nearly, "bearer." + token + "x", "Bearer." + token, "jsonrpc." + token, token})
        expectRefused(upgradeWith(offering(offers)), offers);
    expectRefused(postWith(offering("bearer." + token)), "a sub-protocol of no WebSocket");
    expectRefused(postWith("", "/rpc/Simulator"), "the simulator");
    expectRefused(postWith("", "/rpc/TV?token=" + token), "a query");
    for (const auto* path : {"/openrpc.json", "/openrpc/Simulator.json", "/rpc/TV", "/rpc/None"})
        expectRefused(get(path), path);

    host_->child().terminate();
    EXPECT_EQ(host_->child().wait(), 0);
    std::istringstream lines(host_->child().readErrors());
    unsigned logged = 0;
    for (std::string line; std::getline(lines, line);) {
        logged += line.ends_with("refused: the right token is needed: Authorization: Bearer TOKEN");
        if (const auto rest = line.find(" more lines like these were left out"); rest != std::string::npos)
            logged += unsigned(std::stoul(line.substr(line.find("] ") + 2)));
    }
    EXPECT_EQ(logged, refused);
}

TEST_F(Tokens, NobodyNeedsOneForPageHealthAndPreflight) {
    EXPECT_EQ(get("/healthz").status, 200);
    EXPECT_NE(get("/").status, 401); // 404 where no page is built in
    EXPECT_EQ(get("/nothing/here").status, 404);
    EXPECT_EQ(ask("OPTIONS /rpc/TV HTTP/1.1\r\nHost: localhost\r\nOrigin: http://localhost:1\r\n\r\n").status,
              204);
    EXPECT_EQ(ask("OPTIONS /rpc/TV HTTP/1.1\r\nHost: localhost\r\nOrigin: http://tv.example\r\n\r\n").status,
              403);
}

TEST_F(Tokens, AreNowhereToBeSeen) {
    const std::string wrong = "wrong-wrong-wrong-wrong-wrong-wrong";
    for (const auto& each : {token, wrong}) {
        postWith(bearing("Bearer " + each));
        postWith(bearing("Bearer " + each) + from("https://evil.example"));
        upgradeWith(offering("jsonrpc, bearer." + each));
        upgradeWith(offering("bearer." + each));
        get("/rpc/TV", bearing("Bearer " + each));
        get("/", bearing("Bearer " + each));
        ask("GET /healthz HTTP/1.1\r\nHost: " + each + ".example\r\n\r\n");
    }
    const auto traffic = ask(post("/rpc/Simulator", request("Simulator::trafficGet", R"({"last":10000})"),
                                  bearing("Bearer " + token)));
    EXPECT_NE(traffic.body.find("ITVService::createContext"), std::string::npos);
    host_->child().terminate();
    EXPECT_EQ(host_->child().wait(), 0);

    std::ifstream file(record());
    const std::string recorded(std::istreambuf_iterator<char>(file), {});
    EXPECT_NE(recorded.find("ITVService::createContext"), std::string::npos);
    const auto log = host_->child().readErrors();
    EXPECT_NE(log.find("ITVService::createContext"), std::string::npos);
    for (const auto& place : {recorded, log, said_, host_->child().readOutput()}) {
        EXPECT_EQ(place.find(token), std::string::npos) << place;
        EXPECT_EQ(place.find(wrong), std::string::npos) << place;
    }
}

// What a token file may be.

struct FileRow {
    const char* name;
    std::string text;
    unsigned mode;
    std::string mistake; ///< empty for none
};

std::ostream& operator<<(std::ostream& out, const FileRow& row) {
    return out << row.name;
}

const std::string noToken = "does not hold one line of at least 32 characters A-Z a-z 0-9 - _";

// clang-format off
const FileRow fileRows[] = {
    {"ThirtyTwo",     token + "\n",                  0600, ""},
    {"NoNewline",     token,                         0400, ""},
    {"Longer",        token + token + "\n",          0600, ""},
    {"ThirtyOne",     token.substr(1) + "\n",        0600, noToken},
    {"Empty",         "",                            0600, noToken},
    {"EmptyLine",     "\n" + token + "\n",           0600, noToken},
    {"TwoLines",      token + "\n" + token + "\n",   0600, noToken},
    {"Blank",         token + " \n",                 0600, noToken},
    {"CarriageReturn",token + "\r\n",                0600, noToken},
    {"Plus",          token + "+\n",                 0600, noToken},
    {"Padding",       token + "=\n",                 0600, noToken},
    {"NotAscii",      token + "\xc3\xbc\n",          0600, noToken},
    {"GroupReads",    token + "\n",                  0640, "can be read by others; run chmod 600 on it"},
    {"OthersRead",    token + "\n",                  0604, "can be read by others; run chmod 600 on it"},
};
// clang-format on

class TokenFiles : public testing::TestWithParam<FileRow> {};

TEST_P(TokenFiles, AreTakenOrNothingIsServed) {
    const TokenFile file(GetParam().text, GetParam().mode);
    Child host(OSTREL_TVD_PROGRAM, {"--listen", "127.0.0.1:0", "--token-file", file.path});
    const bool serves = !host.readLine().empty();
    EXPECT_EQ(serves, GetParam().mistake.empty());
    if (serves)
        host.terminate();
    EXPECT_EQ(host.wait(), serves ? 0 : 1);
    const auto errors = host.readErrors();
    EXPECT_NE(errors.find(GetParam().mistake), std::string::npos) << errors;
    EXPECT_EQ(errors.find(token.substr(1)), std::string::npos) << errors;
}

INSTANTIATE_TEST_SUITE_P(Rows, TokenFiles, testing::ValuesIn(fileRows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(TokenTest, WithoutOneNobodyElseIsServed) {
    for (const std::string listen : {"0.0.0.0:0", "[::]:0", "203.0.113.9:0"}) {
        Child host(OSTREL_TVD_PROGRAM, {"--listen", "127.0.0.1:0", "--listen", listen});
        EXPECT_EQ(host.readLine(), "");
        EXPECT_EQ(host.wait(), 2);
        EXPECT_NE(host.readErrors().find(listen + " lets others in; give a token with --token-file"),
                  std::string::npos);
    }
}

} // namespace
} // namespace Ostrel::Test
