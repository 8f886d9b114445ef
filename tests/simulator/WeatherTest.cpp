#include "simulator/Weather.h"

#include "Ostrel/transport/StartError.h"
#include "tests/support/TempDirectory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <ostream>
#include <string>
#include <vector>

namespace Ostrel::Test {
namespace {

using Fate = RPCInterceptor::RequestFate;

Weather::Settings settings(const std::string& text) {
    return deserialize<Weather::Settings>(text);
}

/// Settings of these rules, with a seed.
Weather::Settings rules(const std::string& list, unsigned seed = 1) {
    return settings(R"({"seed":)" + std::to_string(seed) + R"(,"rules":[)" + list + "]}");
}

/// One character for what becomes of a call, and its delay behind it if it has one.
std::string show(const Fate& fate) {
    const char outcome[] = {'.', 'e', 'q', 'r', 'c'}; // usual, failed, request, reply, connection lost
    return std::string(1, outcome[fate.outcome]) +
           (fate.delay.count() > 0 ? std::to_string(fate.delay.count()) : "");
}

struct Row {
    const char* name;
    std::string params;
    const char* outcome;
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

std::string nameOf(const testing::TestParamInfo<Row>& row) {
    return row.param.name;
}

// What is read

class AcceptedSettings : public testing::TestWithParam<Row> {};

TEST_P(AcceptedSettings, AreReportedWithWhatWasLeftOut) {
    RPCNotifier notifier;
    EXPECT_EQ(Weather(notifier, settings(GetParam().params)).report().serialize(), GetParam().outcome);
}

const std::string hundredRules = [] {
    std::string list = R"({"drop":"reply"})";
    for (int i = 1; i < 100; ++i)
        list += R"(,{"drop":"reply"})";
    return list;
}();

// clang-format off
const Row accepted[] = {
    {"None",      R"({"rules":[],"seed":4294967295})", R"({"rules":[],"seed":4294967295})"},
    {"Delay",     R"({"rules":[{"delayMs":600000}],"seed":0})",
                  R"({"rules":[{"method":"*","notifications":false,"after":0,"probability":1,"delayMs":600000,"matched":0,"applied":0}],"seed":0})"},
    {"Range",     R"({"rules":[{"delayMs":[0,600000]}],"seed":1})",
                  R"({"rules":[{"method":"*","notifications":false,"after":0,"probability":1,"delayMs":[0,600000],"matched":0,"applied":0}],"seed":1})"},
    {"Everything", R"({"seed":2,"rules":[{"drop":"reply","delayMs":5,"probability":0.25,"times":3,"after":2,"notifications":false,"method":"A::*"}]})",
                  R"({"rules":[{"method":"A::*","notifications":false,"after":2,"times":3,"probability":0.25,"delayMs":5,"drop":"reply","matched":0,"applied":0}],"seed":2})"},
    {"Error",     R"({"rules":[{"error":"TimedOut"},{"error":"GenericFailure"}],"seed":3})",
                  R"({"rules":[{"method":"*","notifications":false,"after":0,"probability":1,"error":"TimedOut","matched":0,"applied":0},)"
                  R"({"method":"*","notifications":false,"after":0,"probability":1,"error":"GenericFailure","matched":0,"applied":0}],"seed":3})"},
    {"Notification", R"({"rules":[{"notifications":true,"drop":"notification"}],"seed":4})",
                  R"({"rules":[{"method":"*","notifications":true,"after":0,"probability":1,"drop":"notification","matched":0,"applied":0}],"seed":4})"},
};

INSTANTIATE_TEST_SUITE_P(Rows, AcceptedSettings, testing::ValuesIn(accepted), nameOf);

const Row refused[] = {
    {"NoObject",        "[]",                                    "params: params is not a JSON object"},
    {"NoRules",         "{}",                                    "rules: missing member \"rules\""},
    {"Unknown",         R"({"rules":[],"sead":1})",              "sead: unknown member \"sead\""},
    {"NoList",          R"({"rules":{}})",                       "rules: member \"rules\" is not a list of objects"},
    {"TooMany",         R"({"rules":[)" + hundredRules + R"(,{"drop":"reply"}]})", "rules: member \"rules\" has more than 100 entries"},
    {"NoRule",          R"({"rules":[{"drop":"reply"},1]})",     "rules[1]: member \"rules[1]\" is not an object"},
    {"NegativeSeed",    R"({"rules":[],"seed":-1})",             "seed: member \"seed\" is not an unsigned 32-bit integer"},
    {"UnknownOfARule",  R"({"rules":[{"delay":1}]})",            "rules[0].delay: unknown member \"rules[0].delay\""},
    {"NoEffect",        R"({"rules":[{"method":"*"}]})",         "rules[0].delayMs: member \"rules[0].delayMs\" is missing, as is any other effect"},
    {"Method",          R"({"rules":[{"method":1,"delayMs":1}]})", "rules[0].method: member \"rules[0].method\" is not a string"},
    {"Times",           R"({"rules":[{"times":1.5,"delayMs":1}]})", "rules[0].times: member \"rules[0].times\" is not an unsigned 32-bit integer"},
    {"Probability",     R"({"rules":[{"probability":1.01,"delayMs":1}]})", "rules[0].probability: member \"rules[0].probability\" is not a number from 0 to 1"},
    {"LongDelay",       R"({"rules":[{"delayMs":600001}]})",     "rules[0].delayMs: member \"rules[0].delayMs\" is not an integer from 0 to 600000"},
    {"LongRange",       R"({"rules":[{"delayMs":[0,600001]}]})", "rules[0].delayMs: member \"rules[0].delayMs\" is not a list of the least and the most, from 0 to 600000"},
    {"RangeDown",       R"({"rules":[{"delayMs":[2,1]}]})",      "rules[0].delayMs: member \"rules[0].delayMs\" is not a list of the least and the most, from 0 to 600000"},
    {"RangeOfThree",    R"({"rules":[{"delayMs":[1,2,3]}]})",    "rules[0].delayMs: member \"rules[0].delayMs\" is not a list of the least and the most, from 0 to 600000"},
    {"RangeOfTexts",    R"({"rules":[{"delayMs":[1,"2"]}]})",    "rules[0].delayMs[1]: member \"rules[0].delayMs[1]\" is not a signed 32-bit integer"},
    {"Error",           R"({"rules":[{"error":"Success"}]})",    "rules[0].error: member \"rules[0].error\" is none of InvalidParameter, InvalidState, OutOfMemory, NotSupported, TimedOut, GenericFailure"},
    {"Drop",            R"({"rules":[{"drop":"notification"}]})", "rules[0].drop: member \"rules[0].drop\" is none of reply, connection, request"},
    {"DropOfNotification", R"({"rules":[{"notifications":true,"drop":"reply"}]})", "rules[0].drop: member \"rules[0].drop\" is not notification"},
    {"ErrorOfNotification", R"({"rules":[{"notifications":true,"error":"TimedOut"}]})", "rules[0].error: member \"rules[0].error\" is nothing that can happen to a notification"},
    {"ErrorAndDrop",    R"({"rules":[{"error":"TimedOut","drop":"reply"}]})", "rules[0].drop: member \"rules[0].drop\" cannot stand beside \"error\""},
};
// clang-format on

class RefusedSettings : public testing::TestWithParam<Row> {};

TEST_P(RefusedSettings, NameTheMember) {
    try {
        settings(GetParam().params);
        FAIL() << "accepted";
    } catch (const DecodeError& error) {
        EXPECT_EQ(error.getMember() + ": " + error.what(), GetParam().outcome);
    }
}

INSTANTIATE_TEST_SUITE_P(Rows, RefusedSettings, testing::ValuesIn(refused), nameOf);

TEST(WeatherTest, AHundredRulesAreTaken) {
    EXPECT_EQ(rules(hundredRules).rules.size(), 100u);
}

TEST(WeatherTest, TheDocumentsExampleIsTaken) {
    std::ifstream file(OSTREL_DOCS "/simulator.md");
    const std::string document(std::istreambuf_iterator<char>(file), {});
    const std::string fence = "```json\n";
    const auto begin = document.find(fence, document.find("## The weather")) + fence.size();
    EXPECT_EQ(settings(document.substr(begin, document.find("```", begin) - begin)).rules.size(), 4u);
}

TEST(WeatherTest, WithoutASeedOneIsChosen) {
    const auto seed = [] { return settings(R"({"rules":[]})").seed; };
    const auto first = seed();
    EXPECT_TRUE(first != seed() || first != seed()); // by chance alike: once in 2^64
}

// What applies

struct Run {
    const char* name;
    std::string rules;
    std::vector<const char*> calls;
    const char* fates;
    const char* counts; ///< "matched/applied" of each rule
};

void PrintTo(const Run& run, std::ostream* out) {
    *out << run.name;
}

class WeatherRun : public testing::TestWithParam<Run> {};

TEST_P(WeatherRun, GivesTheseFates) {
    RPCNotifier notifier;
    Weather weather(notifier, rules(GetParam().rules));
    std::string fates;
    for (const auto* call : GetParam().calls)
        fates += show(weather.judgeRequest(call));
    EXPECT_EQ(fates, GetParam().fates);

    std::string counts;
    const auto report = weather.report().serialize();
    for (std::size_t at = 0; (at = report.find("\"matched\":", at)) != std::string::npos; ++at) {
        const auto applied = report.find(",\"applied\":", at);
        counts += (counts.empty() ? "" : " ") + report.substr(at + 10, applied - at - 10) + '/' +
                  report.substr(applied + 11, report.find('}', applied) - applied - 11);
    }
    EXPECT_EQ(counts, GetParam().counts);
}

// clang-format off
const Run runs[] = {
    {"Outcomes",   R"({"method":"A::a","error":"TimedOut"},{"method":"A::b","drop":"request"},{"method":"A::c","drop":"reply"},{"method":"A::d","drop":"connection"},{"method":"A::e","delayMs":7})",
                   {"A::a", "A::b", "A::c", "A::d", "A::e", "A::f"}, "eqrc.7.", "1/1 1/1 1/1 1/1 1/1"},
    {"FirstDecides", R"({"drop":"reply"},{"drop":"request"})", {"A::a", "A::b"}, "rr", "2/2 0/0"},
    {"After",      R"({"after":2,"drop":"reply"})", {"A::a", "A::a", "A::a", "A::a"}, "..rr", "4/2"},
    {"Times",      R"({"times":2,"drop":"reply"})", {"A::a", "A::a", "A::a"}, "rr.", "3/2"},
    {"TheThirdOne", R"({"after":2,"times":1,"drop":"reply"})", {"A::a", "A::a", "A::a", "A::a"}, "..r.", "4/1"},
    {"WhatPassesMeetsTheNext", R"({"after":1,"times":1,"drop":"reply"},{"drop":"request"})", {"A::a", "A::a", "A::a"}, "qrq", "3/1 2/2"},
    {"Never",      R"({"probability":0,"drop":"reply"},{"times":0,"drop":"request"})", {"A::a", "A::a"}, "..", "2/0 2/0"},
    {"ForNotifications", R"({"notifications":true,"drop":"notification"})", {"A::a"}, ".", "0/0"},
    {"DelayWithError", R"({"error":"InvalidState","delayMs":[3,3]})", {"A::a"}, "e3", "1/1"},
    {"Exact",      R"({"method":"A::a","drop":"reply"})", {"A::a", "A::aa", "A::", "a", ""}, "r....", "1/1"},
    {"Front",      R"({"method":"A::*","drop":"reply"})", {"A::a", "A::", "AA::a", "A:"}, "rr..", "2/2"},
    {"Back",       R"({"method":"*Get","drop":"reply"})", {"A::Get", "A::GetGet", "A::Gets", "Get"}, "rr.r", "3/3"},
    {"Middle",     R"({"method":"A*::*b*Get","drop":"reply"})", {"A::abGet", "AB::bbGetGet", "A::Get", "A::bGe"}, "rr..", "2/2"},
    {"StarsAreOne", R"({"method":"**","drop":"reply"})", {"A::a", ""}, "rr", "2/2"},
    {"NothingElseIsSpecial", R"({"method":"A::?.[a]\\","drop":"reply"})", {"A::?.[a]\\", "A::x.a"}, "r.", "1/1"},
    {"EmptyGlob",  R"({"method":"","drop":"reply"})", {"A::a"}, ".", "0/0"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Rows, WeatherRun, testing::ValuesIn(runs),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(WeatherTest, NotificationsHaveRulesOfTheirOwn) {
    RPCNotifier notifier;
    Weather weather(notifier,
                    rules(R"({"drop":"reply"},{"notifications":true,"method":"*Start","drop":"notification"},
                                       {"notifications":true,"delayMs":9})"));
    EXPECT_TRUE(weather.judgeNotification("A::onStart").isLost);
    const auto other = weather.judgeNotification("A::onEnd");
    EXPECT_FALSE(other.isLost);
    EXPECT_EQ(other.delay.count(), 9);
}

// The dice

// The engine's first number for this seed is 3,499,211,612, which is 0.81472 of 2^32.
TEST(WeatherTest, TheDiceAreTheSameOnEveryMachine) {
    RPCNotifier notifier;
    Weather weather(notifier, {});
    const auto first = [&](const std::string& rule) {
        weather.set(rules(rule, 5489));
        return show(weather.judgeRequest("A::a"));
    };
    EXPECT_EQ(first(R"({"probability":0.8147,"drop":"reply"})"), ".");
    EXPECT_EQ(first(R"({"probability":0.8148,"drop":"reply"})"), "r");
    EXPECT_EQ(first(R"({"delayMs":[0,599999]})"), ".488834");
    EXPECT_EQ(first(R"({"delayMs":[10,11]})"), ".11");
}

TEST(WeatherTest, TheSameSeedGivesTheSameRun) {
    const auto run = [](unsigned seed) {
        RPCNotifier notifier;
        Weather weather(
            notifier,
            rules(
                R"({"method":"A::*","probability":0.3,"drop":"reply"},{"probability":0.5,"delayMs":[1,1000]},
                                           {"error":"TimedOut","probability":0.1})",
                seed));
        std::string fates;
        for (int i = 0; i < 1000; ++i)
            fates += show(weather.judgeRequest(i % 3 == 0 ? "A::a" : "B::b"));
        return fates;
    };
    EXPECT_EQ(run(7), run(7));
    EXPECT_NE(run(7), run(8));
}

TEST(WeatherTest, ARangeIsUsedFromEndToEnd) {
    RPCNotifier notifier;
    Weather weather(notifier, rules(R"({"delayMs":[3,5]})"));
    std::string seen;
    for (int i = 0; i < 200; ++i) {
        const auto delay = std::to_string(weather.judgeRequest("A::a").delay.count());
        if (seen.find(delay) == std::string::npos)
            seen += delay;
    }
    std::sort(seen.begin(), seen.end());
    EXPECT_EQ(seen, "345");
}

// Setting and resetting

TEST(WeatherTest, SettingBeginsAnew) {
    RPCNotifier notifier;
    const auto given = rules(R"({"probability":0.5,"after":1,"drop":"reply"})");
    Weather weather(notifier, {});
    const auto run = [&] {
        weather.set(given);
        std::string fates;
        for (int i = 0; i < 100; ++i)
            fates += show(weather.judgeRequest("A::a"));
        return fates + weather.report().serialize();
    };
    const auto first = run();
    EXPECT_EQ(run(), first);
}

TEST(WeatherTest, AResetBringsBackTheStartWithItsSeed) {
    RPCNotifier notifier;
    Weather weather(notifier, settings(R"({"rules":[{"probability":0.5,"drop":"reply"}]})"));
    const auto run = [&] {
        std::string fates;
        for (int i = 0; i < 100; ++i)
            fates += show(weather.judgeRequest("A::a"));
        return fates + weather.report().serialize();
    };
    const auto first = run();
    weather.set(rules(R"({"drop":"request"})"));
    weather.reset();
    EXPECT_EQ(run(), first);
}

TEST(WeatherTest, NobodyIsAskedInFineWeather) {
    RPCNotifier notifier;
    {
        Weather weather(notifier, {});
        EXPECT_EQ(notifier.getInterceptor(), nullptr);
        weather.set(rules(R"({"drop":"request"})"));
        EXPECT_EQ(notifier.getInterceptor(), &weather);
        weather.reset();
        EXPECT_EQ(notifier.getInterceptor(), nullptr);
        weather.set(rules(R"({"drop":"request"})"));
    }
    EXPECT_EQ(notifier.getInterceptor(), nullptr);
}

// Files

std::string mistakeOf(const std::string& path) {
    try {
        Weather::Settings::readFile(path);
    } catch (const StartError& error) {
        return error.what();
    }
    return "none";
}

TEST(WeatherTest, AFileHoldsTheSame) {
    const TempDirectory directory;
    const auto path = directory.file("weather.json");
    std::ofstream(path) << "{\"rules\": [{\"drop\": \"reply\"}],\n \"seed\": 3}\n";
    const auto read = Weather::Settings::readFile(path);
    EXPECT_EQ(read.rules.size(), 1u);
    EXPECT_EQ(read.seed, 3u);
}

TEST(WeatherTest, WhatIsWrongWithAFileIsSaid) {
    const TempDirectory directory;
    const auto path = directory.file("weather.json");
    const auto name = "the weather file " + path;
    EXPECT_EQ(mistakeOf(path), "cannot read " + name + ": No such file or directory");
    EXPECT_EQ(mistakeOf(directory.file("")),
              "cannot read the weather file " + directory.file("") + ": Is a directory");
    const auto mistake = [&](const std::string& text) {
        std::ofstream(path) << text;
        return mistakeOf(path);
    };
    EXPECT_EQ(mistake(""), name + ": missing text");
    EXPECT_EQ(mistake("rules"), name + ": text is not a JSON object");
    EXPECT_EQ(mistake(R"({"rules":[{"delayMs":-1}]})"),
              name + ": member \"rules[0].delayMs\" is not an integer from 0 to 600000");
    const std::string fine = R"({"rules":[],"seed":1})";
    EXPECT_EQ(mistake(fine + std::string((1u << 20) - fine.size(), ' ')), "none");
    EXPECT_EQ(mistake(fine + std::string((1u << 20) - fine.size() + 1, ' ')), name + " has more than 1 MiB");
}

} // namespace
} // namespace Ostrel::Test
