#include "Ostrel/rpc/Exception.h"
#include "TV/server/TVRPCServer.h"
#include "TV/server/dummy/DummyTVModuleContext.h"
#include "tests/TV/server/dummy/BuiltInData.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <string>
#include <thread>

using namespace Ostrel;
using namespace Ostrel::TV;

using Ostrel::Test::LogCapture;

namespace {

class ServiceListTest : public testing::Test {
protected:
    void SetUp() override { module.init(); }
    void TearDown() override { forgetBuiltInData(); }

    /// The channel numbers of these services, as text.
    static std::string numbers(const VectorObject<ITVService::ServiceInfo>& services) {
        std::string text;
        for (const auto& service : services) {
            if (!text.empty())
                text += ' ';
            text += std::to_string(service.getChannelNumber());
        }
        return text;
    }

    /// Where the cursor stands.
    unsigned position() { return context.serviceListSeek(0, 1); }

    /// Runs something that must fail: the error's text, which must have been logged once.
    std::string failure(const std::string& operation, const std::function<void()>& run) {
        LogCapture log;
        try {
            run();
        } catch (const Exception& exception) {
            const auto lines = log.take();
            EXPECT_EQ(lines.size(), 1u);
            for (const DebugLine& line : lines) {
                EXPECT_EQ(line.level, DebugLevel::Error);
                EXPECT_EQ(line.module, "DummyTVModule");
                EXPECT_GT(line.line, 0);
                EXPECT_EQ(line.text, operation + "(): throwing exception: " + exception.what());
            }
            return exception.what();
        }
        return "it did not fail";
    }

    void setScannedServices() {
        const Mutex::Hold hold(module.mutex);
        module.scannedServices.assign(module.services.begin(), module.services.begin() + 2);
    }

    DummyTVModule module;
    DummyTVModuleContext context{&module};
};

TEST_F(ServiceListTest, NothingIsSelectedAtFirst) {
    EXPECT_EQ(failure("serviceListGet", [&] { context.serviceListGet(5); }), "Invalid state");
    EXPECT_EQ(failure("serviceListGet", [&] { context.serviceListRead(5); }), "Invalid state");
    EXPECT_EQ(failure("serviceListSeek", [&] { context.serviceListSeek(0, 0); }), "Invalid state");
    EXPECT_EQ(failure("serviceListSeek", [&] { context.serviceListSeek(0, 9); }), "Invalid state");
    EXPECT_EQ(failure("serviceListSeekByUri", [&] { context.serviceListSeekByUri("dvb://233a..1041"); }),
              "Invalid state");
    EXPECT_EQ(failure("serviceListSeekByChannelNumber", [&] { context.serviceListSeekByChannelNumber(1); }),
              "Invalid state");
    EXPECT_EQ(failure("serviceListDelete", [&] { context.serviceListDelete(); }), "Invalid state");
    EXPECT_EQ(failure("serviceListDeleteAll", [&] { context.serviceListDeleteAll(); }), "Invalid state");
}

TEST_F(ServiceListTest, SelectingPutsTheCursorAtTheStart) {
    EXPECT_TRUE(context.serviceListSet("all"));
    EXPECT_EQ(position(), 0u);
    context.serviceListRead(3);
    EXPECT_TRUE(context.serviceListSet("all"));
    EXPECT_EQ(position(), 0u);
}

TEST_F(ServiceListTest, UnknownListKeepsTheSelection) {
    context.serviceListSet("all");
    context.serviceListRead(3);
    for (const char* base : {"ALL", " all", "all ", "New", "", "old"})
        EXPECT_EQ(failure("serviceListSet", [&] { context.serviceListSet(base); }), "Invalid parameter");
    EXPECT_EQ(position(), 3u);
    EXPECT_EQ(numbers(context.serviceListGet(1)), "4");
}

TEST_F(ServiceListTest, UnknownListSelectsNothing) {
    EXPECT_EQ(failure("serviceListSet", [&] { context.serviceListSet("ALL"); }), "Invalid parameter");
    EXPECT_EQ(failure("serviceListGet", [&] { context.serviceListGet(1); }), "Invalid state");
}

TEST_F(ServiceListTest, GetLeavesTheCursorReadMovesIt) {
    context.serviceListSet("all");
    EXPECT_EQ(numbers(context.serviceListGet(3)), "1 2 3");
    EXPECT_EQ(position(), 0u);
    EXPECT_EQ(numbers(context.serviceListRead(3)), "1 2 3");
    EXPECT_EQ(position(), 3u);
    EXPECT_EQ(numbers(context.serviceListRead(2)), "4 5");
    EXPECT_EQ(position(), 5u);
}

TEST_F(ServiceListTest, GetEndsWithTheList) {
    context.serviceListSet("all");
    context.serviceListSeek(90, 0);
    EXPECT_EQ(context.serviceListGet(1000).size(), 6u);
    EXPECT_EQ(context.serviceListGet(6).size(), 6u);
    EXPECT_EQ(context.serviceListGet(0).size(), 0u);
    EXPECT_EQ(context.serviceListRead(1000).size(), 6u);
    EXPECT_EQ(position(), 96u);
    EXPECT_EQ(context.serviceListRead(1).size(), 0u);
    EXPECT_EQ(position(), 96u);
}

TEST_F(ServiceListTest, ALimitThatWraps) {
    context.serviceListSet("all");
    EXPECT_EQ(context.serviceListGet(4294967295u).size(), 96u);
    context.serviceListSeek(5, 0);
    EXPECT_EQ(context.serviceListGet(4294967290u).size(), 91u); // the sum is 4294967295
    EXPECT_EQ(context.serviceListGet(4294967291u).size(), 0u); // the sum is 0
    EXPECT_EQ(context.serviceListRead(4294967295u).size(), 0u);
    EXPECT_EQ(position(), 5u);
}

struct SeekRow {
    const char* name;
    unsigned from;
    int offset;
    unsigned whence;
    int to; ///< -1 when it fails
};

void PrintTo(const SeekRow& row, std::ostream* out) {
    *out << row.name;
}

class SeekTable : public ServiceListTest, public testing::WithParamInterface<SeekRow> {};

// clang-format off
const SeekRow seeks[] = {
    {"FromTheStart",          7,  5,              0, 5},
    {"ToTheEnd",              0,  96,             0, 96},
    {"PastTheEnd",            7,  97,             0, -1},
    {"BeforeTheStart",        7,  -1,             0, -1},
    {"FarBeforeTheStart",     7,  -2147483647-1,  0, -1},
    {"FarPastTheEnd",         7,  2147483647,     0, -1},
    {"BackFromTheCursor",     5,  -2,             1, 3},
    {"ForthFromTheCursor",    5,  2,              1, 7},
    {"StayAtTheCursor",       5,  0,              1, 5},
    {"BackToTheStart",        5,  -5,             1, 0},
    {"BackBeforeTheStart",    5,  -6,             1, -1},
    {"ForthToTheEnd",         95, 1,              1, 96},
    {"ForthPastTheEnd",       96, 1,              1, -1},
    {"CursorSumOverflows",    1,  2147483647,     1, -1},
    {"TheEnd",                0,  0,              2, 96},
    {"BackFromTheEnd",        0,  -96,            2, 0},
    {"BackFromTheEndTooFar",  7,  -97,            2, -1},
    {"ForthFromTheEnd",       7,  1,              2, -1},
    {"EndSumOverflows",       7,  2147483647,     2, -1},
};
// clang-format on

TEST_P(SeekTable, MovesTheCursorOrFails) {
    const SeekRow& row = GetParam();
    context.serviceListSet("all");
    context.serviceListSeek(static_cast<int>(row.from), 0);
    if (row.to >= 0) {
        EXPECT_EQ(context.serviceListSeek(row.offset, row.whence), static_cast<unsigned>(row.to));
        EXPECT_EQ(position(), static_cast<unsigned>(row.to));
        return;
    }
    EXPECT_EQ(failure("serviceListSeek", [&] { context.serviceListSeek(row.offset, row.whence); }),
              "Invalid parameter");
    EXPECT_EQ(position(), row.from);
    LogCapture log;
    Mutex::releaseHeld("test");
    EXPECT_TRUE(log.take().empty()) << "the lock was left held";
}

INSTANTIATE_TEST_SUITE_P(ServiceList, SeekTable, testing::ValuesIn(seeks),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(ServiceListTest, NothingIsToBeHadAtTheEnd) {
    context.serviceListSet("all");
    EXPECT_EQ(context.serviceListSeek(0, 2), 96u);
    EXPECT_TRUE(context.serviceListGet(1).empty());
}

TEST_F(ServiceListTest, LockLeftHeld) {
    context.serviceListSet("all");
    context.serviceListSeek(5, 0);
    for (const unsigned whence : {3u, 4294967295u}) {
        EXPECT_EQ(failure("serviceListSeek", [&] { context.serviceListSeek(0, whence); }),
                  "Invalid parameter");
        LogCapture log;
        Mutex::releaseHeld("serviceListSeek");
        const auto lines = log.takeTexts();
        ASSERT_EQ(lines.size(), 1u);
        EXPECT_NE(lines[0].find("TV/server/dummy/DummyTVModule"), std::string::npos) << lines[0];
        EXPECT_NE(lines[0].find("serviceListSeek"), std::string::npos) << lines[0];
    }
    EXPECT_EQ(position(), 5u);
}

TEST_F(ServiceListTest, LockLeftHeldIsReleasedBehindTheHandler) {
    TVRPCServer server(&module);
    const auto call = [&](const std::string& method, const std::string& params) {
        return server.handleRPCSynchronousMethod(
            IRPC::RPCSynchronousMethodObject("ITVService", method, "7", params));
    };
    const auto reply = call("createContext", "{}");
    const auto head = std::string(R"({"jsonrpc":"2.0","id":7,"result":)").size();
    const std::string named =
        R"({"context":)" + reply.substr(head, reply.size() - head - 1) + R"(,"payload":)";
    call("serviceListSet", named + R"({"base":"all"}})");
    LogCapture log;
    EXPECT_NE(call("serviceListSeek", named + R"({"offset":0,"whence":3}})").find("Invalid parameter"),
              std::string::npos);
    auto other = std::async(std::launch::async,
                            [&] { return call("serviceListSeek", named + R"({"offset":0,"whence":2}})"); });
    EXPECT_EQ(other.get(), R"({"jsonrpc":"2.0","id":7,"result":96})");
}

TEST_F(ServiceListTest, SeekByUriComparesExactly) {
    context.serviceListSet("all");
    EXPECT_EQ(context.serviceListSeekByUri("dvb://233a..3eb0"), 8u);
    EXPECT_EQ(position(), 8u);
    EXPECT_EQ(context.serviceListSeekByUri("dvb://233a..1041"), 0u);
    context.serviceListSeek(7, 0);
    for (const char* uri : {"DVB://233A..1041", "dvb://233a.1041.1041", "dvb://233a..104", ""})
        EXPECT_EQ(failure("serviceListSeekByUri", [&] { context.serviceListSeekByUri(uri); }),
                  "Invalid parameter");
    EXPECT_EQ(position(), 7u);
}

TEST_F(ServiceListTest, SeekByChannelNumberFindsTheNumber) {
    context.serviceListSet("all");
    EXPECT_EQ(context.serviceListSeekByChannelNumber(4), 3u);
    EXPECT_EQ(context.serviceListSeekByChannelNumber(728), 95u);
    EXPECT_EQ(position(), 95u);
    for (const unsigned number : {0u, 8u, 729u, 4294967295u})
        EXPECT_EQ(failure("serviceListSeekByChannelNumber",
                          [&] { context.serviceListSeekByChannelNumber(number); }),
                  "Invalid parameter");
    EXPECT_EQ(position(), 95u);
}

TEST_F(ServiceListTest, NewListIsTheLatestScans) {
    context.serviceListSet("new");
    EXPECT_TRUE(context.serviceListGet(10).empty());
    EXPECT_EQ(context.serviceListSeek(0, 2), 0u);
    setScannedServices();
    EXPECT_EQ(numbers(context.serviceListGet(10)), "1 2");
    EXPECT_EQ(context.serviceListSeekByChannelNumber(2), 1u);
    EXPECT_EQ(failure("serviceListSeekByChannelNumber", [&] { context.serviceListSeekByChannelNumber(3); }),
              "Invalid parameter");
}

TEST_F(ServiceListTest, NewListCannotBeDeletedFrom) {
    for (const bool empty : {true, false}) {
        if (!empty)
            setScannedServices();
        context.serviceListSet("new");
        EXPECT_EQ(failure("serviceListDelete", [&] { context.serviceListDelete(); }), "Invalid state");
        EXPECT_EQ(failure("serviceListDeleteAll", [&] { context.serviceListDeleteAll(); }), "Invalid state");
    }
    EXPECT_EQ(numbers(context.serviceListGet(10)), "1 2");
}

TEST_F(ServiceListTest, DeleteTakesTheServiceAtTheCursor) {
    context.serviceListSet("all");
    context.serviceListSeek(1, 0);
    EXPECT_TRUE(context.serviceListDelete());
    EXPECT_EQ(position(), 1u);
    EXPECT_EQ(numbers(context.serviceListGet(2)), "3 4");
    EXPECT_EQ(context.serviceListSeek(0, 2), 95u);
}

TEST_F(ServiceListTest, DeletingTheLastLeavesTheCursorAtTheEnd) {
    context.serviceListSet("all");
    context.serviceListSeek(95, 0);
    EXPECT_TRUE(context.serviceListDelete());
    EXPECT_EQ(position(), 95u);
    EXPECT_EQ(context.serviceListSeek(0, 2), 95u);
    EXPECT_EQ(failure("serviceListDelete", [&] { context.serviceListDelete(); }), "Invalid state");
}

TEST_F(ServiceListTest, DeleteAllEmptiesTheListForEverybody) {
    DummyTVModuleContext other(&module);
    setScannedServices();
    other.serviceListSet("all");
    other.serviceListSeek(50, 0);
    context.serviceListSet("all");
    context.serviceListRead(3);
    EXPECT_TRUE(context.serviceListDeleteAll());
    EXPECT_EQ(position(), 0u);
    EXPECT_TRUE(context.serviceListDeleteAll());

    // The other's cursor is past the end now: nothing to read, nothing to delete.
    EXPECT_TRUE(other.serviceListGet(10).empty());
    EXPECT_EQ(failure("serviceListDelete", [&] { other.serviceListDelete(); }), "Invalid state");
    EXPECT_EQ(failure("serviceListSeek", [&] { other.serviceListSeek(0, 1); }), "Invalid parameter");
    other.serviceListSet("new");
    EXPECT_EQ(numbers(other.serviceListGet(10)), "1 2");
}

TEST_F(ServiceListTest, CursorsAreTheContextsOwn) {
    DummyTVModuleContext other(&module);
    context.serviceListSet("all");
    other.serviceListSet("all");
    context.serviceListRead(3);
    EXPECT_EQ(numbers(other.serviceListRead(2)), "1 2");
    EXPECT_EQ(numbers(context.serviceListRead(1)), "4");
}

/// Gives one service without a look at the module, so that reading needs no lock for it.
class LocklessContext : public DummyTVModuleContext {
public:
    using DummyTVModuleContext::DummyTVModuleContext;

    VectorObject<ServiceInfo> serviceListGet(const unsigned&) override {
        VectorObject<ServiceInfo> services;
        services.emplace_back(1u, "S", "", 1u, ServiceInfo::Type::Television, "", false, false, true, true);
        return services;
    }
};

TEST_F(ServiceListTest, CursorMovedOutsideTheLock) {
    LocklessContext reader(&module);
    reader.serviceListSet("all");
    std::future<VectorObject<ITVService::ServiceInfo>> read;
    {
        const Mutex::Hold hold(module.mutex);
        read = std::async(std::launch::async, [&] { return reader.serviceListRead(5); });
        EXPECT_EQ(read.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    }
    EXPECT_EQ(read.get().size(), 1u) << "what the context's own serviceListGet gives";
    EXPECT_EQ(reader.serviceListSeek(0, 1), 1u);
}

TEST_F(ServiceListTest, DeleteWithoutTheLock) {
    context.serviceListSet("all");
    std::future<bool> deleted;
    {
        const Mutex::Hold hold(module.mutex);
        deleted = std::async(std::launch::async, [&] { return context.serviceListDelete(); });
        EXPECT_EQ(deleted.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    }
    EXPECT_TRUE(deleted.get());
}

} // namespace
