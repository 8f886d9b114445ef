#include "simulator/SimulatorServer.h"

#include "Ostrel/runtime/Turn.h"

#include <gtest/gtest.h>

#include <ostream>
#include <string>

namespace Ostrel::Test {
namespace {

/// The built-in data are loaded once in a process.
TV::DummyTVModule& theModule() {
    static TV::DummyTVModule& module = *[] {
        auto* const made = new TV::DummyTVModule;
        made->init();
        return made;
    }();
    return module;
}

/// Asks a server of its own as clients do: "METHOD PARAMS", and the reply's result or error.
std::string ask(const std::string& method, const std::string& params) {
    SimulatorServer server(theModule());
    const Turn::Hold turn;
    const auto reply =
        server.handleRPCSynchronousMethod(IRPC::RPCSynchronousMethodObject("Simulator", method, "7", params));
    const std::string head = R"({"jsonrpc":"2.0","id":7,)";
    EXPECT_EQ(reply.substr(0, head.size()), head);
    return reply.substr(head.size(), reply.size() - head.size() - 1);
}

struct Row {
    const char* name;
    const char* method;
    const char* params;
    const char* reply; ///< the member behind the id
};

void PrintTo(const Row& row, std::ostream* out) {
    *out << row.name;
}

class SimulatorServerTable : public testing::TestWithParam<Row> {};

TEST_P(SimulatorServerTable, AnswersThus) {
    EXPECT_EQ(ask(GetParam().method, GetParam().params), GetParam().reply);
}

// clang-format off
const Row rows[] = {
    {"World", "worldGet", "{}",
     R"("result":{"name":"built-in","services":96,"events":11658,"start":1318366800,"end":1319130000,"builtIn":true})"},
    {"WorldTakesNothing", "worldGet", R"({"context":1})",
     R"("error":{"code":-32602,"message":"unknown member \"context\"","data":{"name":"DecodeError","member":"context"}})"},
};
// clang-format on

INSTANTIATE_TEST_SUITE_P(Methods, SimulatorServerTable, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

} // namespace
} // namespace Ostrel::Test
