// Leads from each row of the tables of docs/wire.md that bound or refuse to the tests that show it.

#include "tests/limits/WireTables.h"

#include "Ostrel/transport/Limits.h"
#include "TV/interfaces/ITVGuide.h"
#include "TV/server/ContextTable.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace Ostrel::Test {
namespace {

std::string bytes(std::size_t number) {
    return number % (1u << 20) == 0 ? std::to_string(number >> 20) + " MiB"
                                    : std::to_string(number >> 10) + " KiB";
}

std::string count(std::size_t number) {
    auto text = std::to_string(number);
    if (text.size() > 3)
        text.insert(text.size() - 3, ",");
    return text;
}

std::string time(std::chrono::milliseconds time) {
    return std::to_string(time.count() / 1000) + " s";
}

struct Limit {
    std::string what;
    std::string most; ///< as the code has it
    std::vector<std::string> tests;
};

const Limits defaults;

// What is the same at the default and at any other value is shown with a shorter time; that the
// host serves with the defaults is shown by all others.
const std::vector<Limit> limits = {
    {"one message to the service",
     bytes(defaults.message),
     {"MessageLimits.AWebSocketTakesAMessageOf1MiB", "MessageLimits.SoItDoesInFrames",
      "MessageLimits.ABodyHas1MiB"}},
    {"request line and headers", bytes(defaults.head), {"MessageLimits.AHeadHas16KiB"}},
    {"depth of JSON", "64", {"MessageLimits.JsonIs64Deep"}},
    {"messages in a batch", count(defaults.batch), {"MessageLimits.ABatchHas100Messages"}},
    {"strings in a `stringList`",
     count(TV::ITVGuide::Query::stringLimit),
     {"MessageLimits.AStringListHas256Strings"}},
    {"one reply, or all those of a batch",
     bytes(defaults.reply),
     {"ReplyLimits.AReplyHas64MiB", "ReplyLimits.SoHaveThoseOfABatch"}},
    {"answers that wait for you to read them",
     bytes(defaults.outbox),
     {"WaitingLimits.WhoHas1MiBOfAnswersWaitingIsNotReadFrom"}},
    {"notifications that wait for you",
     bytes(defaults.waiting),
     {"WaitingLimits.NotificationsOf64MiBWaitForAClient"}},
    {"all that waits for all clients together",
     bytes(defaults.waitingTogether),
     {"ReplyLimits.FiveHundredTwelveMiBWaitForAllTogether",
      "ListenerTest.EveryoneWhoIsCutOffForTheSakeOfAllIsTold"}},
    {"messages being read or carried out, of all clients together",
     bytes(defaults.messagesTogether),
     {"WaitingLimits.SixtyFourMiBOfMessagesAreWorkedOn"}},
    {"connections", count(defaults.connections), {"SharedLimits.TwoHundredFiftySixConnectionsAreOpen"}},
    {"contexts", count(TV::ContextTable::limit), {"SharedLimits.SixtyFiveThousandContextsLive"}},
    {"a request's head, and then its body, to arrive",
     time(defaults.headTime) + " each",
     {"TimeLimits.OfAHead", "TimeLimits.OfABody"}},
    {"an HTTP connection with nothing to do", time(defaults.keepAlive), {"TimeLimits.OfAConnectionKept"}},
    {"a WebSocket that answers no ping",
     time(defaults.idleWebSocket),
     {"TimeLimits.OfAWebSocket", "IdleTest.WebSocketThatAnswersPingsStays"}},
    {"a client that takes none of what waits for it",
     time(defaults.stalledReader),
     {"TimeLimits.OfAReader", "ListenerTest.WebSocketThatStalledIsToldWhenItReadsAgain"}},
};

struct Code {
    std::string code;
    std::vector<std::string> tests;
};

const std::vector<Code> closeCodes = {
    {"1001", {"HostTest.HangUpIsAnEndWithAGoodbye"}},
    {"1003", {"ListenerTest.WhatIsNoTextClosesTheConnection"}},
    {"1007", {"ListenerTest.WhatIsNoTextClosesTheConnection"}},
    {"1009", {"MessageLimits.AWebSocketTakesAMessageOf1MiB"}},
    {"1013", {"WaitingLimits.NotificationsOf64MiBWaitForAClient"}},
};

const std::vector<Code> errors = {
    {"-32700", {"MessageLimits.JsonIs64Deep"}},
    {"-32600", {"MessageLimits.ABatchHas100Messages"}},
    {"-32601", {"MessageLimits.OfATextSixtyFourBytesAreRepeated"}},
    {"-32602", {"MessageLimits.AStringListHas256Strings"}},
    {"-32000", {"MessageLimits.AnExpressionOpens256Parentheses"}},
    {"-32001", {"ReplyLimits.AReplyHas64MiB", "ReplyLimits.SoHaveThoseOfABatch"}},
    {"-32603", {"SharedLimits.SixtyFiveThousandContextsLive"}},
};

/// The names of all tests that are written in C++: "SUITE.NAME".
std::set<std::string> findTests() {
    const std::regex macro(R"(TEST(?:_F|_P)?\(\s*(\w+),\s*(\w+)\))");
    std::set<std::string> names;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(OSTREL_PROJECT "/tests")) {
        if (entry.path().extension() != ".cpp")
            continue;
        std::ifstream file(entry.path());
        const std::string text(std::istreambuf_iterator<char>(file), {});
        for (std::sregex_iterator at(text.begin(), text.end(), macro), end; at != end; ++at)
            names.insert((*at)[1].str() + '.' + (*at)[2].str());
    }
    return names;
}

void expectWritten(const std::string& what, const std::vector<std::string>& tests) {
    static const auto written = findTests();
    EXPECT_FALSE(tests.empty()) << what;
    for (const auto& test : tests)
        EXPECT_TRUE(written.contains(test)) << what << ": there is no test " << test;
}

TEST(WireTablesTest, EachLimitIsWhatTheCodeHasAndIsTested) {
    std::vector<std::string> told, known;
    for (const auto& row : readTable("## Limits"))
        told.push_back(row.at(0) + ": " + row.at(1));
    for (const auto& limit : limits) {
        known.push_back(limit.what + ": " + limit.most);
        expectWritten(limit.what, limit.tests);
    }
    EXPECT_EQ(told, known);
}

void expectTested(const std::string& table, const std::vector<Code>& codes) {
    std::vector<std::string> told, known;
    for (const auto& row : readTable(table))
        told.push_back(row.at(0));
    for (const auto& code : codes) {
        known.push_back(code.code);
        expectWritten(code.code, code.tests);
    }
    EXPECT_EQ(told, known);
}

TEST(WireTablesTest, EachCloseCodeIsTested) {
    expectTested("And why the service closes a WebSocket:", closeCodes);
}

TEST(WireTablesTest, EachErrorCodeIsTested) {
    expectTested("## Errors", errors);
}

// What stands below the table.
TEST(WireTablesTest, NotificationsASecondAreWhatTheCodeHas) {
    std::ifstream file(OSTREL_PROJECT "/docs/wire.md");
    const std::string page(std::istreambuf_iterator<char>(file), {});
    EXPECT_NE(page.find(count(defaults.notifications) + " notifications a second"), std::string::npos);
    expectWritten("notifications", {"SharedLimits.TwentyThousandNotificationsASecondAreSent"});
}

} // namespace
} // namespace Ostrel::Test
