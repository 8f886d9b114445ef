#include "simulator/SimulatorServer.h"

#include "Ostrel/runtime/Task.h"
#include "Ostrel/runtime/Turn.h"
#include "TV/server/TVRPCServer.h"
#include "simulator/Description.h"
#include "tests/simulator/TheModule.h"
#include "tests/support/FakeTime.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace Ostrel::Test {
namespace {

/// Asks a server as clients do; returns the member of the reply that tells the outcome.
std::string ask(RPCServer& server, const std::string& interface, const std::string& method,
                const std::string& params) {
    const Turn::Hold turn;
    const auto reply =
        server.handleRPCSynchronousMethod(IRPC::RPCSynchronousMethodObject(interface, method, "7", params));
    const std::string head = R"({"jsonrpc":"2.0","id":7,)";
    EXPECT_EQ(reply.substr(0, head.size()), head);
    return reply.substr(head.size(), reply.size() - head.size() - 1);
}

class SimulatorServerTest : public testing::Test {
protected:
    ~SimulatorServerTest() override {
        simulate("reset");
        stopTasks();
    }

    std::string simulate(const std::string& method, const std::string& params = "{}") {
        return ask(simulator_, "Simulator", method, params);
    }

    /// A call of a viewer whose context that is.
    std::string view(const std::string& interface, const std::string& method, const std::string& payload) {
        return ask(tv_, interface, method, R"({"context":)" + context_ + R"(,"payload":)" + payload + '}');
    }

    const LogCapture log_;
    FakeTime time_{1318762900}; // no scan gets on
    TV::TVRPCServer tv_{&theModule()};
    SimulatorServer simulator_{theModule(), tv_};
    const std::string context_ =
        ask(tv_, "ITVService", "createContext", "{}").substr(std::string(R"("result":)").size());
};

struct Row {
    const char* name;
    const char* method;
    const char* params;
    const char* reply; ///< the member behind the id
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class SimulatorServerTable : public SimulatorServerTest, public testing::WithParamInterface<Row> {};

TEST_P(SimulatorServerTable, AnswersThus) {
    EXPECT_EQ(simulate(GetParam().method, GetParam().params), GetParam().reply);
}

// clang-format off
const Row rows[] = {
    {"World",                 "worldGet",  "{}",
     R"("result":{"name":"built-in","services":96,"events":11658,"start":1318366800,"end":1319130000,"builtIn":true,"timeZone":"Europe/London","today":false})"},
    {"WorldTakesNothing",     "worldGet",  R"({"context":1})",
     R"("error":{"code":-32602,"message":"unknown member \"context\"","data":{"name":"DecodeError","member":"context"}})"},
    {"SignalLeast",           "signalSet", R"({"strength":0,"quality":0})",
     R"("result":true)"},
    {"SignalMost",            "signalSet", R"({"strength":100,"quality":1e2})",
     R"("result":true)"},
    {"SignalMissing",         "signalSet", R"({"strength":50})",
     R"("error":{"code":-32602,"message":"missing member \"quality\"","data":{"name":"DecodeError","member":"quality"}})"},
    {"SignalAbove",           "signalSet", R"({"strength":101,"quality":50})",
     R"("error":{"code":-32602,"message":"member \"strength\" is not an integer from 0 to 100","data":{"name":"DecodeError","member":"strength"}})"},
    {"SignalBelow",           "signalSet", R"({"strength":50,"quality":-1})",
     R"("error":{"code":-32602,"message":"member \"quality\" is not an integer from 0 to 100","data":{"name":"DecodeError","member":"quality"}})"},
    {"SignalFraction",        "signalSet", R"({"strength":50,"quality":0.5})",
     R"("error":{"code":-32602,"message":"member \"quality\" is not an integer from 0 to 100","data":{"name":"DecodeError","member":"quality"}})"},
    {"SignalText",            "signalSet", R"({"strength":"50","quality":50})",
     R"("error":{"code":-32602,"message":"member \"strength\" is not an integer from 0 to 100","data":{"name":"DecodeError","member":"strength"}})"},
    {"SignalUnknown",         "signalSet", R"({"strength":50,"quality":50,"noise":1})",
     R"("error":{"code":-32602,"message":"unknown member \"noise\"","data":{"name":"DecodeError","member":"noise"}})"},
    {"SignalTakesNoPayload",  "signalSet", R"({"payload":{"strength":50,"quality":50}})",
     R"("error":{"code":-32602,"message":"unknown member \"payload\"","data":{"name":"DecodeError","member":"payload"}})"},
    {"Reset",                 "reset",     "{}",
     R"("result":true)"},
    {"ResetTakesNothing",     "reset",     R"({"hard":true})",
     R"("error":{"code":-32602,"message":"unknown member \"hard\"","data":{"name":"DecodeError","member":"hard"}})"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Methods, SimulatorServerTable, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(SimulatorServerTest, ViewersSeeTheSignalThatWasSetLast) {
    const auto get = [&](const char* source) { return view("ITVService", "signalStatusGet", source); };
    EXPECT_EQ(get(R"({"sourceId":1})"), R"("result":{"strength":0,"quality":0})");
    simulate("signalSet", R"({"strength":80,"quality":35})");
    EXPECT_EQ(get(R"({"sourceId":1})"), R"("result":{"strength":80,"quality":35})");
    EXPECT_EQ(get(R"({"sourceId":2})"), R"("result":{"strength":80,"quality":35})");
    simulate("signalSet", R"({"strength":7,"quality":101})"); // refused as a whole
    EXPECT_EQ(get(R"({"sourceId":1})"), R"("result":{"strength":80,"quality":35})");
    simulate("reset");
    EXPECT_EQ(get(R"({"sourceId":1})"), R"("result":{"strength":0,"quality":0})");
}

TEST_F(SimulatorServerTest, AResetBringsBackWhatWasThereAtTheStart) {
    const auto list = [&](const char* which) {
        view("ITVService", "serviceListSet", which);
        return view("ITVService", "serviceListGet", R"({"limit":1000})");
    };
    const auto transponders = [] {
        const Mutex::Hold hold(theModule().mutex);
        return theModule().transponders;
    };
    const auto all = list(R"({"base":"all"})");
    const auto frequencies = transponders();
    EXPECT_EQ(frequencies.size(), 6u);

    view("ITVService", "serviceListDelete", "{}");
    view("ITVConfig", "transponderListDeleteAll", R"({"sourceId":1})");
    view("ITVConfig", "transponderListAdd", R"({"sourceId":1,"tuningParams":{"frequencyKHz":490000}})");
    view("ITVConfig", "scanBlindStart", R"({"sourceId":3,"useNIT":0})");
    EXPECT_EQ(list(R"({"base":"all"})"), R"("result":[])");
    EXPECT_EQ(transponders(), std::vector<std::uint32_t>{490});

    simulate("reset");
    EXPECT_EQ(list(R"({"base":"all"})"), all);
    EXPECT_EQ(list(R"({"base":"new"})"), R"("result":[])");
    EXPECT_EQ(transponders(), frequencies);
    // As before the first scan.
    EXPECT_EQ(
        view("ITVConfig", "scanInfoGet", R"({"sourceId":3})"),
        R"("error":{"code":-32000,"message":"Invalid state","data":{"returnCode":2,"name":"InvalidState"}})");
}

TEST_F(SimulatorServerTest, AfterAResetContextsAreThereWithoutAListSelected) {
    view("ITVService", "serviceListSet", R"({"base":"all"})");
    EXPECT_EQ(view("ITVService", "serviceListSeek", R"({"offset":5,"whence":0})"), R"("result":5)");
    simulate("reset");
    EXPECT_EQ(
        view("ITVService", "serviceListSeek", R"({"offset":0,"whence":1})"),
        R"("error":{"code":-32000,"message":"Invalid state","data":{"returnCode":2,"name":"InvalidState"}})");
    view("ITVService", "serviceListSet", R"({"base":"all"})");
    EXPECT_EQ(view("ITVService", "serviceListSeek", R"({"offset":0,"whence":1})"), R"("result":0)");
}

TEST_F(SimulatorServerTest, DescribesItself) {
    EXPECT_EQ(ask(simulator_, "", "rpc.discover", "{}"),
              R"("result":)" + std::string(Simulator::description()));
}

} // namespace
} // namespace Ostrel::Test
