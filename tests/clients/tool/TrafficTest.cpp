#include "clients/tool/TrafficFilter.h"
#include "tests/clients/tool/Run.h"
#include "tests/support/FakeService.h"
#include "tests/support/Terminal.h"

#include <gtest/gtest.h>

using Ostrel::Client::Tool::TrafficBody;
using Ostrel::Test::Child;
using Ostrel::Test::FakeService;
using Ostrel::Test::result;
using Ostrel::Test::run;
using Ostrel::Test::Terminal;

namespace {

// Of one client a call that is refused, with a "result" in its text; of another one that is not, in
// the middle of which the service tells something to both; and what is no request.
constexpr const char* messages[] = {
    (R"({"time":1318762800.107312,"connection":3,"client":"127.0.0.1:51724","direction":"request",)"
     R"("method":"ITVConfig::scanInfoGet","id":7,"micros":0,"bytes":113,"text":"{\"jsonrpc\":\"2.0\",\"id\":7,)"
     R"(\"method\":\"ITVConfig::scanInfoGet\",\"params\":{\"context\":28,\"payload\":{\"sourceId\":1}}}"})"),
    (R"({"time":1318762800.107398,"connection":3,"client":"127.0.0.1:51724","direction":"reply",)"
     R"("method":"ITVConfig::scanInfoGet","id":7,"micros":86,"bytes":90,"text":"{\"jsonrpc\":\"2.0\",\"id\":7,)"
     R"(\"error\":{\"code\":-32000,\"message\":\"\\\"result\\\":\"}}"})"),
    (R"({"time":1318762801.5,"connection":12,"client":"unix","direction":"request",)"
     R"("method":"ITVService::createContext","id":"é","micros":0,"bytes":64,"text":"{\"jsonrpc\":\"2.0\",)"
     R"(\"id\":\"é\",\"method\":\"ITVService::createContext\"}"})"),
    (R"({"time":1318762801.75,"connection":0,"client":"","direction":"notification",)"
     R"("method":"ITVConfig::onScanStart","micros":0,"bytes":75,"text":"{\"jsonrpc\":\"2.0\",)"
     R"(\"method\":\"ITVConfig::onScanStart\",\"params\":{\"sourceId\":0}}"})"),
    (R"({"time":1318762802,"connection":12,"client":"unix","direction":"reply",)"
     R"("method":"ITVService::createContext","id":"é","micros":500012,"bytes":44,"text":"{\"jsonrpc\":\"2.0\",)"
     R"(\"id\":\"é\",\"result\":28}"})"),
    (R"({"time":1318762802.25,"connection":12,"client":"unix","direction":"request",)"
     R"("method":"","id":null,"micros":0,"bytes":9,"text":"no\nJSON.."})"),
};

// clang-format off
constexpr const char* title =
    "Time          Conn.  Client                     Method                  Id         ms   Bytes  Text\n";
constexpr const char* lines[] = {
    "12:00:00.107      3  127.0.0.1:51724        ->  scanInfoGet             7                 113  {\"sourceId\":1}\n",
    "12:00:00.107      3  127.0.0.1:51724        <-  scanInfoGet             7       0.086      90  {\"code\":-32000,\"message\":\"\\\"result\\\":\"}\n",
    "12:00:01.500     12  unix                   ->  createContext           \"é\"                64\n",
    "12:00:01.750                                <<  onScanStart                                75  {\"sourceId\":0}\n",
    "12:00:02.000     12  unix                   <-  createContext           \"é\"   500.012      44  28\n",
    "12:00:02.250     12  unix                   ->                          null                 9  no\uFFFDJSON..\n",
};
constexpr const char* narrow =
    "Time          Conn.      Method                        ms  Text\n"
    "12:00:00.107      3  ->  scanInfoGet                       {\"sourceId\":1}\n"
    "12:00:00.107      3  <-  scanInfoGet                0.086  {\"code\":-32000,\"mess\u2026\n"
    "12:00:01.500     12  ->  createContext\n"
    "12:00:01.750         <<  onScanStart                       {\"sourceId\":0}\n"
    "12:00:02.000     12  <-  createContext            500.012  28\n"
    "12:00:02.250     12  ->                                    no\uFFFDJSON..\n";
// clang-format on

/// Returns those of the texts that are meant, in their order.
template <class Texts> std::string pick(const Texts& texts, const std::vector<int>& numbers) {
    std::string picked;
    for (const auto number : numbers)
        picked += texts[number];
    return picked;
}

std::string listAll() {
    std::string list;
    for (const auto* message : messages)
        list.append(list.empty() ? "[" : ",").append(message);
    return list + "]";
}

std::string push(const std::string& params) {
    return R"({"jsonrpc":"2.0","method":"Simulator::onTraffic","params":)" + params + "}";
}

struct Row {
    const char* name;
    std::vector<std::string> options;
    std::vector<int> shown;
    const char* last = R"("last":10000)"; ///< what is asked for
};

class TrafficTable : public testing::TestWithParam<Row> {};

TEST_P(TrafficTable, ShowsThese) {
    const auto& row = GetParam();
    FakeService fake({{"Simulator::trafficGet", {result(listAll())}}});
    auto options = row.options;
    options.insert(options.begin(), "traffic");
    const auto table = run(options, fake.getAddress());
    EXPECT_EQ(table.errors, "");
    EXPECT_EQ(table.status, 0);
    EXPECT_EQ(table.output,
              row.shown.empty() ? "Nothing of that kind has passed.\n" : title + pick(lines, row.shown));
    EXPECT_NE(fake.getRequests().back().find(row.last), std::string::npos) << fake.getRequests().back();

    options.emplace_back("--json");
    std::string json;
    for (const auto number : row.shown)
        json.append(messages[number]).append("\n");
    EXPECT_EQ(run(options, fake.getAddress()).output, json);
}

const Row rows[] = {
    {"All", {"--last", "6"}, {0, 1, 2, 3, 4, 5}, R"("last":6)"},
    {"Method", {"--method", "ITVConfig::*"}, {0, 1, 3}},
    {"MethodWithoutItsInterface", {"--method", "scanInfoGet"}, {0, 1}},
    {"MethodIsAllOfTheName", {"--method", "scanInfo"}, {}},
    {"Port", {"--client", ":51724"}, {0, 1}},
    {"Unix", {"--client", "unix"}, {2, 4, 5}},
    {"Connection", {"--connection", "12"}, {2, 4, 5}},
    {"Notifications", {"--connection", "0"}, {3}},
    {"Requests", {"--direction", "request"}, {0, 2, 5}},
    {"Replies", {"--direction", "reply"}, {1, 4}},
    {"Errors", {"--errors"}, {1}},
    {"Together", {"--client", "unix", "--direction", "reply"}, {4}},
    {"LatestOfThese", {"--client", "unix", "--last", "2"}, {4, 5}},
};

INSTANTIATE_TEST_SUITE_P(Traffic, TrafficTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(TrafficTest, NothingHasPassed) {
    FakeService fake({{"Simulator::trafficGet", {result("[]")}}});
    EXPECT_EQ(run({"traffic"}, fake.getAddress()).output, "Nothing has passed.\n");
    EXPECT_EQ(run({"traffic", "--errors"}, fake.getAddress()).output, "Nothing has passed.\n");
    EXPECT_EQ(run({"traffic", "--json"}, fake.getAddress()).output, "");
}

TEST(TrafficTest, TerminalCutsItsLines) {
    FakeService fake({{"Simulator::trafficGet", {result(listAll())}}});
    const Terminal terminal(24);
    Child child("/bin/sh", {"-c", "exec \"$0\" traffic >\"$1\"", OSTREL_TV_PROGRAM, terminal.getPath()}, {},
                {"OSTREL_TV_URL=" + fake.getAddress(), "TZ=Europe/London"});
    EXPECT_EQ(child.wait(), 0) << child.readErrors();
    EXPECT_EQ(terminal.read(), narrow);
}

/// A service that pushes two messages before it answers what has passed, which has them already; and
/// then others, with something else between them.
class Following {
public:
    explicit Following(const std::vector<std::string>& options)
        : fake_({{"Simulator::trafficWatch", {result("true"), push(messages[0]), push(messages[1])}},
                 {"Simulator::trafficGet",
                  {result("[" + std::string(messages[0]) + "," + messages[1] + "]"), push(messages[2]),
                   R"({"jsonrpc":"2.0","method":"Simulator::onClock","params":{}})",
                   push(std::string(messages[3]).replace(1, 0, R"("missed":5,)")), push(messages[4]),
                   "CLOSE"}}}) {
        auto words = options;
        words.insert(words.begin(), {"traffic", "--follow"});
        done = run(words, fake_.getAddress());
    }

    Ostrel::Test::Run done;

private:
    FakeService fake_;
};

TEST(TrafficTest, FollowedEachShowsOnce) {
    const auto done = Following({}).done;
    EXPECT_EQ(done.output, title + pick(lines, {0, 1, 2}) + "5 missed\n" + pick(lines, {3, 4}));
    EXPECT_EQ(done.status, 3);
    EXPECT_TRUE(done.errors.starts_with("ostrel-tv: lost the connection")) << done.errors;
    EXPECT_EQ(Following({"--last", "1", "--direction", "request"}).done.output,
              title + pick(lines, {0, 2}) + "5 missed\n");
    EXPECT_EQ(Following({"--last", "0"}).done.output,
              title + pick(lines, {2}) + "5 missed\n" + pick(lines, {3, 4}));
}

TEST(TrafficTest, FollowedAsJsonIsARecord) {
    std::string json;
    for (const auto* line : {messages[1], messages[2], R"({"missed":5})", messages[3], messages[4]})
        json.append(line).append("\n");
    EXPECT_EQ(Following({"--last", "1", "--json"}).done.output, json);
}

TEST(TrafficTest, BodyIsFoundInWhatIsCut) {
    const struct {
        const char* text;
        const char* body;
        bool isError = false;
    } cases[] = {
        {R"({"jsonrpc":"2.0","id":1,"method":"a"})", ""},
        {R"({"id":1,"method":"a","params" : [1]})", "[1]"},
        {R"({"id":"result","error":{"code":1}})", R"({"code":1})", true},
        {R"({"id":"\"error\":","result":[{"error":1}]})", R"([{"error":1}])"},
        {R"({"id":1,"result":["cut)", R"(["cut)"},
        {R"({"params":{"context":1,"payload":{"a":{}}}})", R"({"a":{}})"},
        {R"({"params": {"context": 1, "payload": {"a": 2}}})", R"({"a": 2})"},
        {R"({"id":1,"result":[{"payload":1}]})", R"([{"payload":1}])"},
        {"", ""},
        {"[", "["},
    };
    for (const auto& each : cases) {
        const TrafficBody body(each.text);
        EXPECT_EQ(body.text, each.body) << each.text;
        EXPECT_EQ(body.isError, each.isError) << each.text;
    }
}

} // namespace
