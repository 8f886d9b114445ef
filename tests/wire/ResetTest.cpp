// Resets, while others call and scan.

#include "tests/support/HeldClock.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WireClient.h"
#include "tests/wire/TheHost.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

namespace Ostrel::Test {
namespace {

/// A WebSocket to the TV service with a context of its own.
class Viewer {
public:
    Viewer() : client_(theHost().getAddresses().front()) {
        client_.upgrade();
        const auto reply = client_.call(R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})");
        const auto value = reply.find("\"result\":") + 9;
        context_ = reply.substr(value, reply.find('}', value) - value);
    }

    /// Sends a call; its reply is still to be read.
    void send(const std::string& method, const std::string& payload) {
        client_.sendText(R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":{"context":)" +
                         context_ + R"(,"payload":)" + payload + "}}");
    }

    /// Whatever comes next: of a reply what stands behind its id, of a notification all.
    std::string hear() {
        constexpr std::string_view head = R"({"jsonrpc":"2.0","id":1,)";
        auto text = client_.readFrame().payload;
        return text.starts_with(head) ? text.substr(head.size(), text.size() - head.size() - 1) : text;
    }

    /// Calls and returns what stands behind the reply's id; notifications are skipped.
    std::string call(const std::string& method, const std::string& payload) {
        send(method, payload);
        auto text = hear();
        while (text.starts_with('{'))
            text = hear();
        return text;
    }

    std::string list(const std::string& name) {
        call("ITVService::serviceListSet", R"({"base":")" + name + R"("})");
        return call("ITVService::serviceListGet", R"({"limit":1000})");
    }

private:
    WireClient client_;
    std::string context_;
};

const std::string done = R"("result":true)";
const std::string invalidState =
    R"("error":{"code":-32000,"message":"Invalid state","data":{"returnCode":2,"name":"InvalidState"}})";
const std::string notSupported =
    R"("error":{"code":-32000,"message":"Not supported","data":{"returnCode":4,"name":"NotSupported"}})";

class ResetTest : public testing::Test {
protected:
    ResetTest() {
        simulator_.upgrade("/rpc/Simulator");
        reset();
    }
    ~ResetTest() override {
        reset();
        stopTasks();
    }

    void reset() {
        EXPECT_EQ(simulator_.call(R"({"jsonrpc":"2.0","id":1,"method":"Simulator::reset"})"),
                  R"({"jsonrpc":"2.0","id":1,"result":true})");
    }

    const LogCapture log_;
    HeldClock time_{1318762900}; // no scan gets on until the first reset
    WireClient simulator_{theHost().getAddresses().front()};
};

TEST_F(ResetTest, AScanEndsAndNobodyIsTold) {
    Viewer viewer;
    viewer.send("ITVConfig::scanBlindStart", R"({"sourceId":5,"useNIT":0})");
    EXPECT_NE(viewer.hear().find("onScanStart"), std::string::npos);
    EXPECT_NE(viewer.hear().find("onScanProgress"), std::string::npos);
    EXPECT_EQ(viewer.hear(), done);
    reset();

    viewer.send("ITVConfig::scanInfoGet", R"({"sourceId":5})");
    EXPECT_EQ(viewer.hear(), invalidState);

    // The next one begins as the first did, and bears its own source.
    viewer.send("ITVConfig::scanBlindStart", R"({"sourceId":6,"useNIT":0})");
    EXPECT_EQ(viewer.hear(),
              R"({"jsonrpc":"2.0","method":"ITVConfig::onScanStart","params":{"sourceId":6}})");
    EXPECT_EQ(
        viewer.hear(),
        R"({"jsonrpc":"2.0","method":"ITVConfig::onScanProgress","params":{"sourceId":6,"percent":0}})");
    EXPECT_EQ(viewer.hear(), done);
}

TEST_F(ResetTest, AScanOfAnotherContextIsForgottenWithItsServices) {
    Viewer viewer;
    const auto all = viewer.list("all");
    viewer.call("ITVConfig::transponderListDeleteAll", R"({"sourceId":5})");
    EXPECT_EQ(viewer.call("ITVConfig::scanStart", R"({"sourceId":5,"useNIT":0})"), done);
    EXPECT_EQ(viewer.list("all"), R"("result":[])");
    reset();
    EXPECT_EQ(viewer.list("all"), all);
    EXPECT_EQ(viewer.list("new"), R"("result":[])");
}

TEST_F(ResetTest, AStormOfFiftyClientsWhoScanHearsNoOtherErrorThanThatAListIsToBeSelected) {
    constexpr int clients = 50;
    constexpr int rounds = 40;
    const auto fresh = Viewer().list("all");

    std::atomic<int> wrong = 0;
    std::atomic<int> storming = clients;
    std::vector<std::thread> threads;
    for (int i = 0; i < clients; ++i)
        threads.emplace_back([&, i] {
            Viewer viewer;
            for (int round = 0; round < rounds; ++round) {
                const auto expect = [&](const std::string& method, const std::string& payload,
                                        const std::string& error) {
                    const auto reply = viewer.call(method, payload);
                    wrong += !reply.starts_with("\"result\":") && reply != error;
                };
                expect("ITVService::serviceListSet", R"({"base":"all"})", "none");
                expect("ITVService::serviceListRead", R"({"limit":3})", invalidState);
                expect("ITVService::serviceListSeek", R"({"offset":0,"whence":0})", invalidState);
                expect("ITVService::nowNextGet", R"({"id":1043,"outputFormat":"quoriljson"})", "none");
                expect("ITVService::signalStatusGet", R"({"sourceId":1})", "none");
                expect("ITVConfig::transponderListAdd",
                       R"({"sourceId":1,"tuningParams":{"frequencyKHz":490000}})", "none");
                if (i % 2 == 0) {
                    expect("ITVConfig::scanBlindStart", R"({"sourceId":1,"useNIT":0})", notSupported);
                    expect("ITVConfig::scanStop", R"({"sourceId":1})", "none");
                }
                if (i % 10 == 0)
                    expect("ITVConfig::transponderListDeleteAll", R"({"sourceId":1})", "none");
            }
            --storming;
        });
    int resets = 0;
    for (; storming > 0; ++resets)
        reset();
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
    EXPECT_GT(resets, 0);

    reset();
    Viewer viewer;
    EXPECT_EQ(viewer.list("all"), fresh);
    EXPECT_EQ(viewer.list("new"), R"("result":[])");
    EXPECT_EQ(viewer.call("ITVConfig::scanInfoGet", R"({"sourceId":1})"), invalidState);
}

} // namespace
} // namespace Ostrel::Test
