#include "tests/support/Child.h"
#include "tests/support/FakeService.h"
#include "tests/support/TempDirectory.h"
#include "tests/support/WireClient.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>

namespace Ostrel::Test {
namespace {

using Arguments = std::vector<std::string>;

/// A host that serves on a port of its own until it goes away.
class Serving {
public:
    explicit Serving(Arguments options = {}) {
        options.insert(options.begin(), {"--listen", "127.0.0.1:0", "--log-level", "error"});
        child_ = std::make_unique<Child>(OSTREL_TVD_PROGRAM, options);
        const auto line = child_->readLine();
        const auto at = line.find("127.0.0.1:");
        EXPECT_NE(at, std::string::npos) << line;
        address_ = line.substr(at, line.size() - at - 1);
    }
    ~Serving() {
        child_->terminate();
        EXPECT_EQ(child_->wait(), 0);
    }

    Serving(const Serving&) = delete;
    Serving& operator=(const Serving&) = delete;

    const std::string& address() const { return address_; }
    WireClient connect() const { return WireClient(Address::parse(address_)); }

private:
    std::unique_ptr<Child> child_;
    std::string address_;
};

struct Outcome {
    int status;
    std::string output;
    std::string errors;
};

Outcome replay(const std::string& address, Arguments options, const std::string& input = {}) {
    options.insert(options.begin(), "replay");
    Child child(OSTREL_TV_PROGRAM, options, input, {"OSTREL_TV_URL=" + address});
    auto output = child.readOutput();
    const int status = child.wait();
    return {status, output, child.readErrors()};
}

std::string read(const std::string& path) {
    std::ostringstream out;
    out << std::ifstream(path).rdbuf();
    return out.str();
}

std::string request(int id, const std::string& method, const std::string& context = {},
                    const std::string& payload = {}) {
    return R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":"ITVService::)" + method + '"' +
           (context.empty() ? "" : R"(,"params": { "context" : )" + context) +
           (payload.empty() ? "" : R"(,"payload":)" + payload) + (context.empty() ? "}" : "}}");
}

std::string makeContext(WireClient& client) {
    const auto reply = client.call(request(1, "createContext"));
    const auto at = reply.rfind(':') + 1;
    return reply.substr(at, reply.size() - 1 - at);
}

/// Calls so many methods, as a seed decides: all of the description, with the params of its examples,
/// a quarter of them without the payload, in contexts of which some are gone.
///
/// Time passes as usual, which a scan under way would show: only the last call starts one, all others
/// that would lack their payload.
void callEverything(WireClient& client, int count) {
    const auto description = boost::json::parse(read(OSTREL_DESCRIPTION));
    const auto& methods = description.at("methods").as_array();
    std::mt19937 dice(1318762800);
    std::vector<std::string> contexts{makeContext(client)};
    for (int id = 2; id <= count;) {
        const auto& method = methods[dice() % methods.size()];
        const std::string name(method.at("name").as_string());
        const bool isEarly = id < count * 9 / 10;
        if (name.find("::on") != std::string::npos || (isEarly && name.ends_with("DeleteAll")) ||
            (id == count && name != "ITVConfig::scanBlindStart"))
            continue;
        if (name == "ITVService::createContext" && ++id <= count) {
            contexts.push_back(makeContext(client));
            continue;
        }
        boost::json::object params;
        const auto& examples = method.at("examples").as_array();
        for (const auto& param : examples[dice() % examples.size()].at("params").as_array())
            params[param.at("name").as_string()] = param.at("value");
        if (params.contains("context"))
            params["context"] = std::stoul(contexts[dice() % contexts.size()]);
        const bool startsScan = name.find("::scan") != std::string::npos && name.ends_with("Start");
        if (id < count && (startsScan || dice() % 4 == 0))
            params.erase("payload");
        client.call(boost::json::serialize(
            boost::json::object{{"jsonrpc", "2.0"}, {"id", id++}, {"method", name}, {"params", params}}));
    }
}

/// A line of a record.
std::string line(const std::string& direction, const std::string& method, const std::string& text,
                 double time = 1, int connection = 1) {
    std::string escaped;
    for (const char c : text)
        escaped.append(c == '"' ? "\\" : "").push_back(c);
    return R"({"time":)" + std::to_string(time) + R"(,"connection":)" + std::to_string(connection) +
           R"(,"client":"unix","direction":")" + direction + R"(","method":")" + method +
           R"(","id":1,"micros":0,"bytes":)" + std::to_string(text.size()) + R"(,"text":")" + escaped +
           "\"}\n";
}

class ReplayTest : public testing::Test {
protected:
    /// What two connections do with one context, and what is refused.
    void recordSession() {
        const Serving host({"--record", path_});
        auto first = host.connect();
        auto second = host.connect();
        first.upgrade();
        second.upgrade();
        const auto context = makeContext(first);
        second.call(request(2, "serviceListSet", context, R"({"base":"all"})"));
        first.call('[' + request(3, "serviceListSeek", context, R"({"offset":5,"whence":0})") + ',' +
                   request(4, "utcTimeGet", context, "{}") + ",7]");
        second.sendText(R"({"jsonrpc":"2.0","method":"ITVService::serviceListSeek","params":{"context":)" +
                        context + R"(,"payload":{"offset":1,"whence":1}}})");
        second.call(request(5, "serviceListRead", context, R"({"limit":3})"));
        second.call("no JSON");
        host.connect().post("/rpc/TV", request(6, "serviceListSeek", context, R"({"offset":0,"whence":1})"));
        host.connect().post("/rpc/TV", request(7, "deleteContext", context));
        first.call(request(8, "serviceListRead", context, R"({"limit":3})"));
    }

    void write(const std::string& text) const { std::ofstream(path_) << text; }

    const TempDirectory directory_;
    const std::string path_ = directory_.file("record");
};

TEST_F(ReplayTest, OfTheSameServiceShowsNoDifference) {
    recordSession();
    const Serving host({"--no-simulator"});
    const auto outcome = replay(host.address(), {path_, "--diff", "--speed", "max"});
    EXPECT_EQ(outcome.output, "11 requests of 4 connections sent, 10 replies compared, none differs\n");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(ReplayTest, SimulatorThatNobodyTouchesChangesNoReply) {
    {
        const Serving host({"--fake-time", "--record", path_});
        auto client = host.connect();
        client.upgrade();
        callEverything(client, 1000);
    }
    const Serving host({"--fake-time", "--no-simulator"});
    const auto outcome = replay(host.address(), {path_, "--diff", "--speed", "max"});
    EXPECT_EQ(outcome.output, "1000 requests of 1 connection sent, 1000 replies compared, none differs\n");
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.status, 0);
}

TEST_F(ReplayTest, TrafficOfAServiceIsARecord) {
    {
        const Serving host;
        auto client = host.connect();
        client.upgrade();
        callEverything(client, 50);
        Child traffic("/bin/sh",
                      {"-c", "exec \"$0\" traffic --last 10000 --json >\"$1\"", OSTREL_TV_PROGRAM, path_}, {},
                      {"OSTREL_TV_URL=" + host.address()});
        EXPECT_EQ(traffic.wait(), 0) << traffic.readErrors();
    }
    const Serving host;
    EXPECT_EQ(replay(host.address(), {path_, "--diff", "--speed", "max"}).output,
              "50 requests of 1 connection sent, 50 replies compared, none differs\n");
}

TEST_F(ReplayTest, ShowsWhereRepliesDiffer) {
    recordSession();
    auto record = read(path_);
    const auto name = record.find(R"(\"name\":\")");
    ASSERT_NE(name, std::string::npos);
    record[name + 11] = '#';
    write(record);
    const Serving host;
    const auto outcome = replay(host.address(), {path_, "--diff", "--speed", "max"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, "ostrel-tv: 1 of 10 replies differ\n");
    EXPECT_NE(outcome.output.find("request 7, connection 2, ITVService::serviceListRead\n"
                                  "  result[0].name: recorded \"#"),
              std::string::npos)
        << outcome.output;
    EXPECT_NE(outcome.output.find("10 replies compared, 1 differ\n"), std::string::npos);

    EXPECT_EQ(replay(host.address(), {path_, "--speed", "max"}).status, 0) << "nobody asked";
    const auto json = replay(host.address(), {path_, "--diff", "--speed", "max", "--json"});
    EXPECT_EQ(json.status, 1);
    EXPECT_NE(
        json.output.find(
            R"("method":"ITVService::serviceListRead","differences":[{"path":"result[0].name","recorded":"#)"),
        std::string::npos)
        << json.output;
    EXPECT_NE(json.output.find(R"("compared":10,"different":1})"), std::string::npos);
    EXPECT_EQ(replay(host.address(), {path_, "--diff", "--speed", "max", "--without", "name"}).status, 0);
}

TEST_F(ReplayTest, ReadsStandardInputAndARecordWhoseHostDidNotEnd) {
    recordSession();
    const auto record = read(path_);
    const Serving host;
    EXPECT_EQ(
        replay(host.address(), {"-", "--diff", "--speed", "max"}, record.substr(0, record.size() - 9)).output,
        "11 requests of 4 connections sent, 9 replies compared, none differs\n");
}

TEST_F(ReplayTest, TellsWhatTheRecordLacks) {
    const auto ask = request(1, "createContext");
    const std::string answer = R"({"jsonrpc":"2.0","id":1,"result":7})";
    auto cut = line("request", "ITVService::createContext", ask);
    cut.replace(cut.find("\"bytes\":"), 8, "\"bytes\":9");
    write(line("request", "ITVService::createContext", ask) +
          line("reply", "ITVService::createContext", answer) + cut + "{\"missed\":3}\n");
    const Serving host;
    EXPECT_EQ(
        replay(host.address(), {path_, "--diff"}).output,
        "1 request of 1 connection sent, 1 reply compared, none differs; 1 text not whole in the record, "
        "left out; 3 messages missing in the record\n");
}

TEST_F(ReplayTest, TakesAsLongAsItTook) {
    const auto ask = request(1, "createContext");
    write(line("request", "ITVService::createContext", ask, 100) +
          line("request", "ITVService::createContext", ask, 100.3));
    const Serving host;
    for (const auto& [speed, least] : {std::pair{"1", 300}, {"2", 150}}) {
        const auto begin = std::chrono::steady_clock::now();
        EXPECT_EQ(replay(host.address(), {path_, "--speed", speed}).status, 0);
        EXPECT_GE(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(least));
    }
}

TEST_F(ReplayTest, ManyConnectionsAreMade) {
    std::string record;
    for (int connection = 1; connection <= 300; ++connection)
        record += line("request", "ITVService::createContext", request(1, "createContext"), 1, connection);
    write(record);
    const Serving host;
    EXPECT_EQ(replay(host.address(), {path_, "--speed", "max"}).output,
              "300 requests of 300 connections sent\n");
}

TEST_F(ReplayTest, WithoutAReplyIsADifference) {
    FakeService fake({});
    write(line("request", "A::b", R"({"jsonrpc":"2.0","id":1,"method":"A::b"})") +
          line("reply", "A::b", R"({"jsonrpc":"2.0","id":1,"result":true})"));
    const auto outcome = replay(fake.getAddress(), {path_, "--diff", "--timeout", "0.1"});
    EXPECT_EQ(outcome.status, 1);
    EXPECT_NE(outcome.output.find("request 1, connection 1, A::b\n  reply: recorded "), std::string::npos);
    EXPECT_NE(outcome.output.find(", now no reply in time\n"), std::string::npos) << outcome.output;
}

TEST_F(ReplayTest, ShowsNothingThatSteersATerminal) {
    write(line("request", R"(\u001b[2Jclear)", request(1, "nothing")) +
          line("reply", R"(\u001b[2Jclear)", R"({"jsonrpc":"2.0","id":1,"result":null})"));
    const Serving host;
    const auto outcome = replay(host.address(), {path_, "--diff"});
    EXPECT_EQ(outcome.output.find('\x1b'), std::string::npos);
    EXPECT_NE(outcome.output.find("connection 1, \uFFFD[2Jclear\n"), std::string::npos) << outcome.output;
}

TEST_F(ReplayTest, WhatIsNoRecordIsRefused) {
    EXPECT_EQ(replay("127.0.0.1:1", {directory_.file("absent")}).status, 2);
    write("one\n");
    const auto outcome = replay("127.0.0.1:1", {path_});
    EXPECT_EQ(outcome.status, 2);
    EXPECT_EQ(outcome.errors, "ostrel-tv: " + path_ + " is no record: line 1 is no message\n");
    write("");
    EXPECT_EQ(replay("127.0.0.1:1", {path_}).errors, "ostrel-tv: " + path_ + " holds no requests\n");
    EXPECT_EQ(replay("127.0.0.1:1", {path_, "--speed", "0"}).status, 2);
    EXPECT_EQ(replay("127.0.0.1:1", {path_, "--without", "name"}).status, 2) << "needs --diff";
}

TEST_F(ReplayTest, ExamplesOfTheHelpWork) {
    Child help(OSTREL_TV_PROGRAM, {"replay", "--help"});
    std::istringstream lines(help.readOutput());
    EXPECT_EQ(help.wait(), 0);
    recordSession();
    const Serving host;
    int count = 0;
    for (std::string example; std::getline(lines, example);) {
        if (!example.starts_with("  ostrel-tv replay record.jsonl"))
            continue;
        std::istringstream words(example);
        Arguments arguments;
        for (std::string word; words >> word;)
            arguments.push_back(word == "record.jsonl" ? path_ : word);
        arguments.erase(arguments.begin(), arguments.begin() + 2);
        EXPECT_EQ(replay(host.address(), arguments).status, 0) << example;
        ++count;
    }
    EXPECT_EQ(count, 3);
}

} // namespace
} // namespace Ostrel::Test
