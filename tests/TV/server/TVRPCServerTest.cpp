#include "TV/server/TVRPCServer.h"

#include "Ostrel/rpc/Exception.h"
#include "Ostrel/runtime/Cancellation.h"
#include "Ostrel/runtime/Turn.h"
#include "tests/TV/server/FakeModule.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <thread>
#include <utility>

using namespace Ostrel;
using namespace Ostrel::TV;
using namespace std::chrono_literals;

using Ostrel::Test::LogCapture;

namespace {

std::string resultReply(const std::string& value) {
    return R"({"jsonrpc":"2.0","id":7,"result":)" + value + "}";
}

std::string errorReply(const std::string& members) {
    return R"({"jsonrpc":"2.0","id":7,"error":{)" + members + "}}";
}

/// The members of the error that says that there is no such context.
const std::string noContext =
    R"("message":"Invalid parameter","data":{"returnCode":1,"name":"InvalidParameter","member":"context"})";

class TVRPCServerTest : public testing::Test {
protected:
    std::string call(const std::string& interface, const std::string& method, const std::string& params,
                     const std::shared_ptr<RPCPeer>& peer = nullptr) {
        return server.handleRPCSynchronousMethod(
            IRPC::RPCSynchronousMethodObject(interface, method, "7", params, peer));
    }

    std::string callWith(std::uint32_t context, const std::string& interface, const std::string& method,
                         const std::string& payload) {
        return call(interface, method,
                    R"({"context":)" + std::to_string(context) + R"(,"payload":)" + payload + "}");
    }

    std::uint32_t createContext(const std::shared_ptr<RPCPeer>& peer = nullptr) {
        const auto reply = call("ITVService", "createContext", "{}", peer);
        const std::string head = R"({"jsonrpc":"2.0","id":7,"result":)";
        EXPECT_EQ(reply.substr(0, head.size()), head);
        const auto identifier = static_cast<std::uint32_t>(std::stoul(reply.substr(head.size())));
        EXPECT_EQ(reply, resultReply(std::to_string(identifier)));
        module.calls.clear();
        return identifier;
    }

    std::string deleteContext(std::uint32_t context) {
        return call("ITVService", "deleteContext", R"({"context":)" + std::to_string(context) + "}");
    }

    ContextTable::TimePoint now{1000h};
    FakeModule module;
    TVRPCServer server{&module, [this] { return now; }};
};

/// One method of the table, and what of it is its own.
struct MethodRow {
    const char* interface;
    const char* method;
    const char* payload;
    const char* call; ///< of the context
    const char* result;
    const char* missing; ///< the member that an empty payload lacks first; empty when none is read
    int throwLine, catchLine; ///< 0 where the line is free
};

void PrintTo(const MethodRow& row, std::ostream* out) {
    *out << row.interface << "::" << row.method;
}

#define SERVICES                                                                                             \
    R"([{"channelNumber":1,"name":"BBC ONE","uri":"dvb://233a..1041","id":1043,"type":1,"provider":"BBC",)"  \
    R"("scrambled":false,"highDefinition":false,"visible":true,"selectable":true}])"
#define EVENTS                                                                                               \
    R"([{"serviceId":1043,"startTime":60,"endTime":120,"title":"News","description":"",)"                    \
    R"("highDefinition":false,"extra":0,"genres":[32]}])"
#define SCAN_INFO                                                                                            \
    R"({"scanning":false,"progress":50,"reserved1":0,"reserved2":0,"reserved3":0,"reserved4":0,)"            \
    R"("reserved5":0,"servicesFound":8,"tvServices":9,"radioServices":10,"type3Services":11,)"               \
    R"("reserved6":0,"reserved7":0})"

// clang-format off
const MethodRow methods[] = {
    {"ITVService", "serviceListSet", R"({"base":"all"})", "serviceListSet(all)", "true", "base", 0, 0},
    {"ITVService", "serviceListDelete", R"({})", "serviceListDelete()", "false", "", 0, 0},
    {"ITVService", "serviceListDeleteAll", R"({})", "serviceListDeleteAll()", "true", "", 0, 0},
    {"ITVService", "serviceListSeek", R"({"offset":-2,"whence":4294967295})", "serviceListSeek(-2, 4294967295)", "0", "offset", 0, 0},
    {"ITVService", "serviceListSeekByUri", R"({"uri":"dvb://1"})", "serviceListSeekByUri(dvb://1)", "3", "uri", 0, 0},
    {"ITVService", "serviceListSeekByChannelNumber", R"({"channelNumber":4})", "serviceListSeekByChannelNumber(4)", "4294967295", "channelNumber", 0, 0},
    {"ITVService", "serviceListGet", R"({"limit":1})", "serviceListGet(1)", SERVICES, "limit", 0, 0},
    {"ITVService", "serviceListRead", R"({"limit":2})", "serviceListRead(2)", SERVICES, "limit", 0, 0},
    {"ITVService", "nowNextGet", R"({"id":1043,"outputFormat":"x"})", "nowNextGet(1043, x)", R"(["now","next"])", "id", 0, 0},
    {"ITVService", "signalStatusGet", R"({"sourceId":1})", "signalStatusGet(1)", R"({"strength":0,"quality":0})", "sourceId", 0, 0},
    {"ITVService", "utcTimeGet", R"({"any":1})", "utcTimeGet()", "3000000000", "", 0, 0},
    {"ITVConfig", "transponderListAdd", R"({"sourceId":1,"tuningParams":{"frequencyKHz":690999}})", "transponderListAdd(1, 690999)", "true", "sourceId", 453, 461},
    {"ITVConfig", "transponderListDeleteAll", R"({"sourceId":1})", "transponderListDeleteAll(1)", "true", "sourceId", 477, 484},
    {"ITVConfig", "scanBlindStart", R"({"sourceId":1,"useNIT":-1})", "scanBlindStart(1, -1)", "true", "sourceId", 408, 416},
    {"ITVConfig", "scanHomeStart", R"({"sourceId":1,"useNIT":2,"tuningParams":{"frequencyKHz":3}})", "scanHomeStart(1, 3, 2)", "true", "sourceId", 384, 393},
    {"ITVConfig", "scanStart", R"({"sourceId":1,"useNIT":2})", "scanStart(1, 2)", "true", "sourceId", 339, 347},
    {"ITVConfig", "scanStop", R"({"sourceId":1})", "scanStop(1)", "false", "sourceId", 362, 369},
    {"ITVConfig", "scanInfoGet", R"({"sourceId":1})", "scanInfoGet(1)", SCAN_INFO, "sourceId", 431, 438},
    {"ITVGuide", "query", R"({"expression":"e","expressionFormat":"f","outputFormat":"o"})", "query(e, f, o)", R"(["<a/>"])", "expression", 0, 0},
    {"ITVGuide", "queryEventInfo", R"({"query":{"serviceIdList":[1,2],"timeRange":{"base":-8}}})", "queryEventInfo(2, -8)", EVENTS, "query", 0, 0},
    {"ITVGuide", "queryNowNextEventInfo", R"({"id":1043})", "queryNowNextEventInfo(1043)", EVENTS, "id", 0, 0},
    {"ITVGuide", "getGenreStringMapList", R"({})", "getGenreStringMapList()", R"-([{"code":16,"text":"movie/drama (general)"}])-", "", 0, 0},
};
// clang-format on

class EveryMethod : public TVRPCServerTest, public testing::WithParamInterface<MethodRow> {
protected:
    std::string callRow(std::uint32_t context, const std::string& payload) {
        return callWith(context, GetParam().interface, GetParam().method, payload);
    }

    /// Checks one line against "METHOD" + text; a fixed line of 0 stands for any.
    void expectLine(const DebugLine& line, const std::string& text, int fixedLine) {
        EXPECT_EQ(line.level, DebugLevel::Error);
        EXPECT_EQ(line.module, "TVRPCServer");
        EXPECT_EQ(line.text, GetParam().method + text);
        if (fixedLine != 0)
            EXPECT_EQ(line.line, fixedLine);
        else
            EXPECT_GT(line.line, 0);
    }

    /// Checks the line in which the platform says how the call ended.
    void expectOutcome(const DebugLine& line, DebugLevel level, const std::string& text) {
        EXPECT_EQ(line.level, level);
        EXPECT_EQ(line.text, GetParam().interface + std::string("::") + GetParam().method + text);
    }
};

TEST_P(EveryMethod, CallsTheContextAndAnswers) {
    const auto context = createContext();
    LogCapture log;
    EXPECT_EQ(callRow(context, GetParam().payload), resultReply(GetParam().result));
    EXPECT_EQ(module.calls, (std::vector<std::string>{GetParam().call}));
    EXPECT_TRUE(log.take().empty());
}

TEST_P(EveryMethod, RefusesContextZeroAndStrangersAlike) {
    const auto context = createContext();
    for (const std::uint32_t stranger : {0u, context ^ 1u}) {
        LogCapture log;
        EXPECT_EQ(callRow(stranger, GetParam().payload), errorReply(R"("code":-32000,)" + noContext));
        const auto lines = log.take();
        ASSERT_EQ(lines.size(), 3u);
        expectLine(lines[0], "(): throwing exception: Invalid parameter", GetParam().throwLine);
        expectLine(lines[1], "(): caught exception: Invalid parameter", GetParam().catchLine);
        expectOutcome(lines[2], DebugLevel::Information, " refused: Invalid parameter (context)");
    }
    EXPECT_TRUE(module.calls.empty());
}

TEST_P(EveryMethod, AnswersTheModulesException) {
    const auto context = createContext();
    module.onCall = [] { throw Exception(ReturnCode::NotSupported); };
    LogCapture log;
    EXPECT_EQ(callRow(context, GetParam().payload),
              errorReply(R"("code":-32000,"message":"Not supported",)"
                         R"("data":{"returnCode":4,"name":"NotSupported"})"));
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 2u);
    expectLine(lines[0], "(): caught exception: Not supported", GetParam().catchLine);
    expectOutcome(lines[1], DebugLevel::Information, " refused: Not supported");
}

TEST_P(EveryMethod, AnswersAStandardException) {
    const auto context = createContext();
    module.onCall = [] { throw std::runtime_error("something odd"); };
    LogCapture log;
    EXPECT_EQ(callRow(context, GetParam().payload), errorReply(R"("code":-32000,"message":"something odd")"));
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 2u);
    expectLine(lines[0], "(): caught exception: something odd", GetParam().catchLine);
    expectOutcome(lines[1], DebugLevel::Error, " failed: something odd");
}

TEST_P(EveryMethod, AnswersAnythingElse) {
    const auto context = createContext();
    module.onCall = [] { throw 42; };
    LogCapture log;
    EXPECT_EQ(callRow(context, GetParam().payload), errorReply(R"("code":-32000,"message":"unknown")"));
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 2u);
    expectLine(lines[0], "(): caught unknown exception", GetParam().catchLine);
    expectOutcome(lines[1], DebugLevel::Error, " failed: unknown");
}

TEST_P(EveryMethod, NamesAMissingMember) {
    const auto context = createContext();
    const std::string missing = GetParam().missing;
    LogCapture log;
    const auto reply = callRow(context, "{}");
    if (missing.empty()) {
        EXPECT_EQ(reply, resultReply(GetParam().result));
        return;
    }
    EXPECT_EQ(reply, errorReply(R"("code":-32602,"message":"missing member \")" + missing +
                                R"(\"","data":{"name":"DecodeError","member":")" + missing + R"("})"));
    EXPECT_TRUE(module.calls.empty());
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 2u);
    expectLine(lines[0], "(): caught exception: missing member \"" + missing + '"', GetParam().catchLine);
    expectOutcome(lines[1], DebugLevel::Information, " refused: missing member \"" + missing + '"');
}

TEST_P(EveryMethod, NeedsAContext) {
    EXPECT_EQ(call(GetParam().interface, GetParam().method, "{}"),
              errorReply(R"("code":-32602,"message":"missing member \"context\"",)"
                         R"("data":{"name":"DecodeError","member":"context"})"));
}

TEST_P(EveryMethod, TakesThePayloadAsText) {
    const auto context = createContext();
    std::string text;
    for (const char character : std::string(GetParam().payload))
        text += character == '"' ? std::string("\\\"") : std::string(1, character);
    EXPECT_EQ(callRow(context, '"' + text + '"'), resultReply(GetParam().result));
}

INSTANTIATE_TEST_SUITE_P(TVRPCServer, EveryMethod, testing::ValuesIn(methods),
                         [](const auto& row) { return std::string(row.param.method); });

TEST_F(TVRPCServerTest, ContextsHaveDifferentIdentifiers) {
    const auto first = createContext();
    const auto second = createContext();
    EXPECT_NE(first, 0u);
    EXPECT_NE(second, 0u);
    EXPECT_NE(first, second);
    EXPECT_EQ(module.contexts, 2u);

    EXPECT_EQ(deleteContext(first), resultReply("null"));
    EXPECT_EQ(deleteContext(second), resultReply("null"));
    EXPECT_EQ(module.contexts, 0u);
}

TEST_F(TVRPCServerTest, DeletedContextIsUnknown) {
    const auto context = createContext();
    deleteContext(context);
    EXPECT_EQ(callWith(context, "ITVService", "serviceListDelete", "{}"),
              errorReply(R"("code":-32000,)" + noContext));
}

// Neither method that makes or deletes a context catches anything: the platform answers.
TEST_F(TVRPCServerTest, AFailureLeavesTheHandlerOfDeleteContext) {
    const auto context = createContext();
    for (const std::uint32_t stranger : {0u, context ^ 1u}) {
        LogCapture log;
        EXPECT_EQ(deleteContext(stranger), errorReply(R"("code":-32603,)" + noContext));
        EXPECT_EQ(log.takeTexts(), (std::vector<std::string>{
                                       "deleteContext(): throwing exception: Invalid parameter",
                                       "ITVService::deleteContext refused: Invalid parameter (context)"}));
    }
    EXPECT_EQ(module.contexts, 1u);
}

TEST_F(TVRPCServerTest, AFailureLeavesTheHandlerOfCreateContext) {
    module.onCall = [] { throw Exception(ReturnCode::OutOfMemory); };
    LogCapture log;
    EXPECT_EQ(call("ITVService", "createContext", "{}"),
              errorReply(R"("code":-32603,"message":"Out of memory",)"
                         R"("data":{"returnCode":3,"name":"OutOfMemory"})"));
    const auto lines = log.take();
    ASSERT_EQ(lines.size(), 1u);
    EXPECT_EQ(lines[0].level, DebugLevel::Error);
    EXPECT_EQ(lines[0].text, "ITVService::createContext failed: Out of memory");
}

TEST_F(TVRPCServerTest, ContextPastTheLimitIsOutOfMemory) {
    for (std::size_t count = 0; count < ContextTable::limit; ++count)
        call("ITVService", "createContext", "{}");
    EXPECT_EQ(module.contexts, 65536u);
    EXPECT_EQ(call("ITVService", "createContext", "{}"),
              errorReply(R"("code":-32603,"message":"Out of memory",)"
                         R"("data":{"returnCode":3,"name":"OutOfMemory"})"));
    EXPECT_EQ(module.contexts, 65536u);
}

TEST_F(TVRPCServerTest, APayloadForTheTime) {
    const auto context = createContext();
    const auto callWithoutPayload = [&](const std::string& method) {
        return call("ITVService", method, R"({"context":)" + std::to_string(context) + "}");
    };
    EXPECT_EQ(
        callWithoutPayload("utcTimeGet"),
        errorReply(
            R"("code":-32602,"message":"missing payload","data":{"name":"DecodeError","member":"payload"})"));
    EXPECT_NE(callWith(context, "ITVService", "utcTimeGet", R"("[1]")").find(R"("code":-32602)"),
              std::string::npos);
    EXPECT_EQ(callWith(context, "ITVService", "utcTimeGet", R"("{}")"), resultReply("3000000000"));

    EXPECT_EQ(callWithoutPayload("serviceListDelete"), resultReply("false"));
    EXPECT_EQ(callWith(context, "ITVService", "serviceListDelete", R"("[1]")"), resultReply("false"));
    EXPECT_EQ(callWith(context, "ITVService", "serviceListDeleteAll", R"("nonsense")"), resultReply("true"));
}

TEST_F(TVRPCServerTest, ScanHomeStartReadsTheFlagFirst) {
    const auto context = createContext();
    EXPECT_NE(callWith(context, "ITVConfig", "scanHomeStart", R"({"sourceId":1})").find(R"(\"useNIT\")"),
              std::string::npos);
    EXPECT_NE(
        callWith(context, "ITVConfig", "scanHomeStart", R"({"sourceId":1,"useNIT":0,"tuningParams":{}})")
            .find(R"(\"tuningParams.frequencyKHz\")"),
        std::string::npos);
}

TEST_F(TVRPCServerTest, WholeNumbersAreNeitherRoundedNorWrapped) {
    const auto context = createContext();
    EXPECT_EQ(callWith(context, "ITVService", "serviceListGet", R"({"limit":4294967296})"),
              errorReply(R"("code":-32602,"message":"member \"limit\" is not an unsigned 32-bit integer",)"
                         R"("data":{"name":"DecodeError","member":"limit"})"));
    EXPECT_NE(
        callWith(context, "ITVService", "serviceListSeek", R"({"offset":0.5,"whence":0})").find("-32602"),
        std::string::npos);
    EXPECT_TRUE(module.calls.empty());
}

TEST_F(TVRPCServerTest, UnknownNamesAreThePlatformsBusiness) {
    const auto context = createContext();
    for (const auto& [interface, method] :
         {std::pair("ITVGuide", "serviceListSet"), std::pair("ITVConfig", "createContext"),
          std::pair("ITVService", "init"), std::pair("Simulator", "query")})
        EXPECT_NE(callWith(context, interface, method, "{}").find(R"("code":-32601)"), std::string::npos);
    EXPECT_TRUE(module.calls.empty());
}

TEST_F(TVRPCServerTest, OnlyTheGuideIsReadWithoutTheTurn) {
    EXPECT_TRUE(server.isReadOnly("ITVGuide"));
    EXPECT_FALSE(server.isReadOnly("ITVService"));
    EXPECT_FALSE(server.isReadOnly("ITVConfig"));
}

TEST_F(TVRPCServerTest, IsFoundByItsNameWhileItRuns) {
    EXPECT_EQ(RPCServer::find("TV"), nullptr);
    EXPECT_TRUE(server.init());
    EXPECT_EQ(RPCServer::find("TV"), &server);
    EXPECT_EQ(server.getFixedRPCAddress(), "");
    server.uninit();
}

TEST_F(TVRPCServerTest, DeletingWaitsForTheReadersOfTheContext) {
    const auto context = createContext();
    unsigned contextsDuringTheCall = 0;
    std::thread deleter;
    module.onCall = [&] {
        module.onCall = nullptr;
        deleter = std::thread([&] { EXPECT_EQ(deleteContext(context), resultReply("null")); });
        // Once the identifier is unknown, the deleter waits or has gone too far.
        while (callWith(context, "ITVService", "serviceListSet", "{}").find("Invalid parameter") ==
               std::string::npos)
            std::this_thread::yield();
        for (int chance = 0; chance < 1000; ++chance)
            std::this_thread::yield();
        contextsDuringTheCall = module.contexts;
    };
    LogCapture log;
    EXPECT_EQ(callWith(context, "ITVGuide", "getGenreStringMapList", "{}"),
              resultReply(R"-([{"code":16,"text":"movie/drama (general)"}])-"));
    deleter.join();
    EXPECT_EQ(contextsDuringTheCall, 1u);
    EXPECT_EQ(module.contexts, 0u);
}

TEST_F(TVRPCServerTest, OnlyDeletingAContextMayWait) {
    EXPECT_TRUE(server.mayWait("ITVService::deleteContext"));
    EXPECT_FALSE(server.mayWait("ITVService::createContext"));
    EXPECT_FALSE(server.mayWait("ITVService::serviceListSet"));
}

TEST_F(TVRPCServerTest, LongTextsAreDecodedWhileOthersHaveTheTurn) {
    const auto context = createContext();
    const auto othersHadItBefore = [&](const std::string& base, const std::string& payload) {
        bool had = false;
        bool hadBefore = false;
        module.onCall = [&] { hadBefore = had; };
        Turn::take();
        std::thread other([&] {
            const Turn::Hold turn;
            had = true;
        });
        while (Turn::countWaiting() != 1)
            std::this_thread::yield();
        EXPECT_EQ(callWith(context, "ITVService", "serviceListSet", payload), resultReply("true"));
        EXPECT_EQ(module.calls.back(), "serviceListSet(" + base + ")");
        Turn::give();
        other.join();
        module.onCall = nullptr;
        return hadBefore;
    };
    const std::string longBase(IRPC::RPCSynchronousMethodObject::shortParameters, 'x');
    EXPECT_TRUE(othersHadItBefore(longBase, R"({"base":")" + longBase + R"("})"));
    EXPECT_FALSE(othersHadItBefore("all", R"({"base":"all"})"));
}

TEST_F(TVRPCServerTest, AClientThatHasGoneIsAnsweredNothing) {
    const auto context = createContext();
    module.onCall = [] { throw Cancelled(); };
    LogCapture log;
    EXPECT_THROW(callWith(context, "ITVGuide", "getGenreStringMapList", "{}"), Cancelled);
    EXPECT_TRUE(log.lines().empty());
}

TEST(TVRPCServerLifeTest, GivesBackTheContextsThatClientsLeft) {
    FakeModule module;
    {
        TVRPCServer server(&module);
        for (int count = 0; count < 3; ++count)
            server.handleRPCSynchronousMethod(
                IRPC::RPCSynchronousMethodObject("ITVService", "createContext", "7", "{}"));
        EXPECT_EQ(module.contexts, 3u);
    }
    EXPECT_EQ(module.contexts, 0u);
}

class HousekeepingTest : public TVRPCServerTest {
protected:
    void SetUp() override { server.init(); }
    void TearDown() override { server.uninit(); }
};

TEST_F(HousekeepingTest, ReleasesWhatNobodyUsesAnyMore) {
    const auto peer = std::make_shared<RPCPeer>();
    const auto kept = createContext(peer);
    const auto abandoned = createContext();
    now += 10min - 1ns;
    server.housekeep();
    EXPECT_EQ(module.contexts, 2u);

    now += 1ns;
    server.housekeep();
    EXPECT_EQ(module.contexts, 1u);
    EXPECT_EQ(module.calls, (std::vector<std::string>{"deleteContext()"}));
    EXPECT_EQ(callWith(kept, "ITVService", "serviceListDelete", "{}"), resultReply("false"));
    EXPECT_EQ(deleteContext(abandoned), errorReply(R"("code":-32603,)" + noContext));
}

TEST_F(HousekeepingTest, UseKeepsAContextWhoseConnectionHasClosed) {
    auto peer = std::make_shared<RPCPeer>();
    const auto context = createContext(peer);
    peer.reset();
    now += 9min;
    callWith(context, "ITVService", "serviceListDelete", "{}");
    now += 9min;
    server.housekeep();
    EXPECT_EQ(module.contexts, 1u);
    now += 1min;
    server.housekeep();
    EXPECT_EQ(module.contexts, 0u);
}

TEST_F(HousekeepingTest, RunningScanKeepsEveryContext) {
    createContext();
    createContext();
    module.onScanStart(1);
    module.scanning = true;
    now += 1000h;
    EXPECT_TRUE(server.housekeep());
    EXPECT_EQ(module.contexts, 2u);

    module.scanning = false;
    EXPECT_FALSE(server.housekeep());
    EXPECT_EQ(module.contexts, 0u);
}

// A module that has not scanned yet would log the question as an error.
TEST_F(HousekeepingTest, IsOneLineInTheLog) {
    for (int count = 0; count < 3; ++count)
        createContext();
    now += 10min;
    const LogCapture log;
    server.housekeep();
    EXPECT_EQ(module.contexts, 0u);
    EXPECT_EQ(log.texts(), (std::vector<std::string>{"housekeep(): released 3 abandoned contexts"}));
}

TEST_F(HousekeepingTest, ModuleThatKnowsNoScanRunsNone) {
    createContext();
    module.onScanStart(1);
    module.onCall = [this] {
        if (module.calls.back() == "scanInfoGet(0)")
            throw Exception(ReturnCode::InvalidState);
    };
    now += 10min;
    server.housekeep();
    EXPECT_EQ(module.contexts, 0u);
}

TEST_F(TVRPCServerTest, OnlyProgressOfTheSameSourceReplacesProgress) {
    struct Subscriber : RPCSubscriber {
        void notify(const std::shared_ptr<const RPCNotification>& notification) noexcept override {
            all.push_back(notification);
        }
        std::vector<std::shared_ptr<const RPCNotification>> all;
    } subscriber;
    server.subscribe(subscriber);
    server.init();
    module.onScanProgress(1, 42);
    module.onScanProgress(1, 43);
    module.onScanProgress(2, 43);
    module.onScanStart(2);
    module.onScanComplete(2);
    server.uninit();
    server.unsubscribe(subscriber);
    ASSERT_EQ(subscriber.all.size(), 5u);
    EXPECT_TRUE(subscriber.all[1]->replaces(*subscriber.all[0]));
    for (std::size_t i = 2; i < 5; ++i)
        EXPECT_FALSE(subscriber.all[i]->replaces(*subscriber.all[i - 1])) << i;
}

TEST_F(TVRPCServerTest, ScanEventsBecomeNotifications) {
    struct Subscriber : RPCSubscriber {
        void notify(const std::shared_ptr<const RPCNotification>& notification) noexcept override {
            texts.push_back(notification->getText());
        }
        std::vector<std::string> texts;
    } subscriber;
    server.subscribe(subscriber);
    server.init();
    module.onScanStart(1);
    module.onScanProgress(1, 42);
    module.onScanComplete(4294967295u);
    server.uninit();
    module.onScanStart(2);
    server.unsubscribe(subscriber);

    EXPECT_EQ(
        subscriber.texts,
        (std::vector<std::string>{
            R"({"jsonrpc":"2.0","method":"ITVConfig::onScanStart","params":{"sourceId":1}})",
            R"({"jsonrpc":"2.0","method":"ITVConfig::onScanProgress","params":{"sourceId":1,"percent":42}})",
            R"({"jsonrpc":"2.0","method":"ITVConfig::onScanComplete","params":{"sourceId":4294967295}})",
        }));
}

} // namespace
