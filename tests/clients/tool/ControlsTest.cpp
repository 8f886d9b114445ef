#include "tests/clients/tool/Run.h"
#include "tests/support/FakeService.h"

#include <gtest/gtest.h>

using Ostrel::Test::error;
using Ostrel::Test::FakeService;
using Ostrel::Test::result;
using Ostrel::Test::run;

namespace {

constexpr const char* held = R"({"now":1318762800,"speed":0,"real":1760612404})";
constexpr const char* heldTime = "UTC      2011-10-16T11:00:00Z\n"
                                 "local    2011-10-16 12:00:00 BST\n"
                                 "seconds  1318762800\n"
                                 "speed    held\n";
constexpr const char* fine = R"({"rules":[],"seed":7})";
constexpr const char* bad =
    R"({"rules":[{"method":"ITVGuide::*","notifications":false,"after":2,"times":1,"probability":0.5,)"
    R"("delayMs":[200,800],"error":"TimedOut","matched":5,"applied":1},)"
    R"({"method":"*","notifications":true,"after":0,"times":3,"probability":1,"delayMs":10,)"
    R"("drop":"notification","matched":0,"applied":0}],"seed":7})";
// clang-format off
constexpr const char* table =
    "Method       Kind          Effect                                   When                 Matched  Applied\n"
    "ITVGuide::*  call          200 to 800 ms late, fails with TimedOut  after 2, once, 50 %        5        1\n"
    "*            notification  10 ms late, notification lost            3 times                    0        0\n"
    "Seed 7\n";
// clang-format on

/// Returns the params of the latest call.
std::string paramsOf(const FakeService& fake) {
    const auto request = fake.getRequests().back();
    const auto at = request.find(R"("params":)");
    return at == std::string::npos ? "" : request.substr(at + 9, request.size() - at - 10);
}

struct Row {
    const char* name;
    std::vector<std::string> words;
    const char* input;
    const char* answer; ///< to whatever is called last
    const char* params; ///< what is sent with it
    const char* output;
};

class ControlTable : public testing::TestWithParam<Row> {};

TEST_P(ControlTable, AsksAndShowsThis) {
    const auto& row = GetParam();
    const auto answer = result(row.answer);
    FakeService fake({{"Simulator::clockGet", {result(held)}},
                      {"Simulator::clockSet", {answer}},
                      {"Simulator::clockStep", {answer}},
                      {"Simulator::weatherGet", {result(bad)}},
                      {"Simulator::weatherSet", {answer}},
                      {"Simulator::signalSet", {answer}},
                      {"Simulator::reset", {answer}},
                      {"Simulator::worldGet", {answer}}});
    const auto done = run(row.words, fake.getAddress(), row.input);
    EXPECT_EQ(done.errors, "");
    EXPECT_EQ(done.status, 0);
    EXPECT_EQ(done.output, row.output);
    EXPECT_EQ(paramsOf(fake), row.params);
}

const Row rows[] = {
    {"Clock", {"clock", "show"}, "", "", "", heldTime},
    {"ClockAsJson",
     {"clock", "show", "--json"},
     "",
     "",
     "",
     "{\"now\":1318762800,\"speed\":0,\"real\":1760612404}\n"},
    {"ClockHold", {"clock", "hold"}, "", held, R"({"speed":0})", heldTime},
    {"ClockRun",
     {"clock", "run"},
     "",
     R"({"now":1318762800,"speed":1,"real":0})",
     R"({"speed":1})",
     "UTC      2011-10-16T11:00:00Z\nlocal    2011-10-16 12:00:00 BST\nseconds  1318762800\nspeed    1\n"},
    {"ClockSpeed",
     {"clock", "speed", "0.5", "--json"},
     "",
     R"({"now":1,"speed":0.5,"real":2})",
     R"({"speed":0.5})",
     "{\"now\":1,\"speed\":0.5,\"real\":2}\n"},
    {"ClockSet", {"clock", "set", "2011-10-16T12:00"}, "", held, R"({"now":1318762800})", heldTime},
    {"ClockSetBack", {"clock", "set", "-1h"}, "", held, R"({"now":1318759200})", heldTime},
    {"ClockStep", {"clock", "step", "1m10s"}, "", held, R"({"seconds":70})", heldTime},
    {"ClockStepNext", {"clock", "step", "next"}, "", held, R"({"toNextStart":{}})", heldTime},
    {"ClockStepBeforeNext",
     {"clock", "step", "next", "--service", "1043", "--before", "5"},
     "",
     held,
     R"({"toNextStart":{"serviceId":1043,"before":5}})",
     heldTime},
    {"SignalSet",
     {"signal", "set", "--strength", "80", "--quality", "35"},
     "",
     "true",
     R"({"strength":80,"quality":35})",
     "strength  80\nquality   35\n"},
    {"SignalSetAsJson",
     {"signal", "set", "--strength", "0", "--quality", "100", "--json"},
     "",
     "true",
     R"({"strength":0,"quality":100})",
     "{\"strength\":0,\"quality\":100}\n"},
    {"Reset", {"reset"}, "", "true", "", "All is as at the start.\n"},
    {"ResetAsJson", {"reset", "--json"}, "", "true", "", "{\"reset\":true}\n"},
    {"Weather", {"weather", "show"}, "", "", "", table},
    {"WeatherClear", {"weather", "clear"}, "", fine, R"({"rules":[]})", "Fine: there are no rules.\n"},
    {"WeatherClearAsJson",
     {"weather", "clear", "--json"},
     "",
     fine,
     R"({"rules":[]})",
     "{\"rules\":[],\"seed\":7}\n"},
    {"WeatherSetRules",
     {"weather", "set", "-"},
     R"([{"delayMs":5,"mispelt":1}])",
     bad,
     R"({"rules":[{"delayMs":5,"mispelt":1}]})",
     table},
    {"WeatherSetAsShown",
     {"weather", "set", "-"},
     bad,
     bad,
     R"({"rules":[{"method":"ITVGuide::*","notifications":false,"after":2,"times":1,"probability":0.5,)"
     R"("delayMs":[200,800],"error":"TimedOut"},)"
     R"({"method":"*","notifications":true,"after":0,"times":3,"probability":1,"delayMs":10,)"
     R"("drop":"notification"}],"seed":7})",
     table},
    {"WeatherAdd",
     {"weather", "add", "--method", "A::*", "--delay", "5-9", "--error", "TimedOut", "--after", "1",
      "--times", "2", "--probability", "0.25"},
     "",
     fine,
     R"({"rules":[{"method":"ITVGuide::*","after":2,"times":1,"probability":0.5,)"
     R"("delayMs":[200,800],"error":"TimedOut"},)"
     R"({"notifications":true,"times":3,"delayMs":10,"drop":"notification"},)"
     R"({"method":"A::*","after":1,"times":2,"probability":0.25,"delayMs":[5,9],"error":"TimedOut"}],"seed":7})",
     "Fine: there are no rules.\n"},
    {"Call", {"call", "worldGet"}, "", "1", "", "1\n"},
    {"CallWithParams",
     {"call", "Simulator::signalSet", R"({"strength":1})"},
     "",
     "true",
     R"({"strength":1})",
     "true\n"},
};

INSTANTIATE_TEST_SUITE_P(Controls, ControlTable, testing::ValuesIn(rows),
                         [](const auto& row) { return row.param.name; });

TEST(ControlsTest, NoNextStartTellsWhereThereAreSome) {
    FakeService fake(
        {{"Simulator::clockStep",
          {error(
              R"({"code":-32000,"message":"Invalid parameter","data":{"returnCode":1,"name":"InvalidParameter"}})")}},
         {"Simulator::worldGet",
          {result(R"({"name":"built-in","services":96,"events":11658,"start":1318366800,"end":1319130000,)"
                  R"("builtIn":true,"timeZone":"Europe/London","today":false})")}}});
    const auto done = run({"clock", "step", "next"}, fake.getAddress());
    EXPECT_EQ(done.status, 1);
    EXPECT_EQ(done.errors,
              "ostrel-tv: no such event starts later; ostrel-tv clock set 2011-10-16T08:00 goes to "
              "the middle of the guide\n");
}

TEST(WeatherFileTest, IsReadNoFurtherThanTheServiceWould) {
    const auto endless = run({"weather", "set", "/dev/zero"});
    EXPECT_EQ(endless.status, 2);
    EXPECT_EQ(endless.errors, "ostrel-tv: /dev/zero has more than 1 MiB\n");
    const auto directory = run({"weather", "set", "/"});
    EXPECT_EQ(directory.status, 2);
    EXPECT_EQ(directory.errors, "ostrel-tv: / cannot be read\n");
    const auto large = run({"weather", "set", "-"}, "127.0.0.1:1", std::string((1 << 20) + 1, ' '));
    EXPECT_EQ(large.status, 2);
    EXPECT_EQ(large.errors, "ostrel-tv: standard input has more than 1 MiB\n");
}

} // namespace
