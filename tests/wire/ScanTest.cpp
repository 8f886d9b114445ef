#include "Ostrel/runtime/DebugPrint.h"
#include "tests/support/HeldClock.h"
#include "tests/support/WireClient.h"
#include "tests/wire/TheHost.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <optional>
#include <random>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace Ostrel::Test {
namespace {

constexpr std::time_t start = 1318748400;

/// A WebSocket with a context of its own that keeps the scan events it is sent.
class Viewer {
public:
    Viewer() : client_(theHost().getAddresses().front()) {
        client_.upgrade();
        client_.sendText(R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})");
        const auto reply = readReply();
        const auto value = reply.find("\"result\":") + 9;
        context_ = reply.substr(value, reply.find('}', value) - value);
    }

    /// Calls a method with this client's context; returns what stands for the reply's id.
    std::string call(const std::string& method, const std::string& payload) {
        client_.sendText(R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":{"context":)" +
                         context_ + R"(,"payload":)" + payload + "}}");
        return readReply().substr(std::string(R"({"jsonrpc":"2.0","id":1,)").size());
    }

    bool blindScan() { return isTrue(call("ITVConfig::scanBlindStart", R"({"sourceId":7,"useNIT":0})")); }
    bool listedScan() { return isTrue(call("ITVConfig::scanStart", R"({"sourceId":7,"useNIT":0})")); }
    bool stopScan() { return isTrue(call("ITVConfig::scanStop", R"({"sourceId":7})")); }
    bool clear() { return isTrue(call("ITVConfig::transponderListDeleteAll", R"({"sourceId":7})")); }
    bool addTransponder(unsigned frequencyMHz) {
        return isTrue(
            call("ITVConfig::transponderListAdd", R"({"sourceId":7,"tuningParams":{"frequencyKHz":)" +
                                                      std::to_string(frequencyMHz * 1000) + "}}"));
    }
    void deleteContext() {
        client_.sendText(
            R"({"jsonrpc":"2.0","id":1,"method":"ITVService::deleteContext","params":{"context":)" +
            context_ + "}}");
        readReply();
    }

    std::size_t countServices() {
        call("ITVService::serviceListSet", R"({"base":"all"})");
        const auto list = call("ITVService::serviceListGet", R"({"limit":1000})");
        const std::string member = "\"channelNumber\"";
        std::size_t count = 0;
        for (auto at = list.find(member); at != std::string::npos; at = list.find(member, at + 1))
            ++count;
        return count;
    }

    /// Reads notifications until a scan is complete.
    void awaitCompletion() {
        while (!events_.ends_with("complete "))
            keep(client_.readFrame().payload);
    }

    /// The events so far, "start PERCENT PERCENT complete ", which are forgotten.
    std::string take() { return std::exchange(events_, {}); }

private:
    static bool isTrue(const std::string& reply) { return reply == R"("result":true})"; }

    std::string readReply() {
        while (true) {
            auto text = client_.readFrame().payload;
            if (text.find("\"id\":") != std::string::npos)
                return text;
            keep(text);
        }
    }

    void keep(const std::string& text) {
        const auto is = [&](const char* name) { return text.find(name) != std::string::npos; };
        constexpr std::string_view percent = "\"percent\":";
        if (is("ITVConfig::onScanStart"))
            events_ += "start ";
        else if (is("ITVConfig::onScanComplete"))
            events_ += "complete ";
        else if (const auto at = text.find(percent);
                 is("ITVConfig::onScanProgress") && at != std::string::npos)
            events_ += text.substr(at + percent.size(), text.find('}', at) - at - percent.size()) + " ";
        else
            events_ += "UNKNOWN " + text;
    }

    WireClient client_;
    std::string context_;
    std::string events_;
};

/// Whether the text is whole scans, each with percentages that rise from 0.
bool isInOrder(const std::string& events) {
    std::istringstream words(events);
    int percent = -1; // of the scan that runs; -1 while none does
    for (std::string word; words >> word;) {
        if (word == "start") {
            if (percent >= 0 || !(words >> word) || word != "0")
                return false;
            percent = 0;
        } else if (word == "complete") {
            if (percent < 0)
                return false;
            percent = -1;
        } else {
            const int next = std::atoi(word.c_str());
            if (percent < 0 || next <= percent || next > 100)
                return false;
            percent = next;
        }
    }
    return percent < 0;
}

class ScanTest : public testing::Test {
protected:
    ScanTest() {
        setDebugSink([](const DebugLine&) {});
        theHost();
    }
    ~ScanTest() override { setDebugSink({}); }

    /// Leaves the host as the other tests want it: every service, six transponders, nothing new.
    void TearDown() override {
        HeldClock time(start);
        Viewer viewer;
        viewer.stopScan();
        viewer.clear();
        viewer.blindScan();
        time.advance(48);
        viewer.stopScan();
        EXPECT_EQ(viewer.countServices(), 96u);
        viewer.blindScan();
        viewer.stopScan();
    }
};

TEST_F(ScanTest, SixTranspondersInRealTime) {
    Viewer viewer;
    viewer.clear();
    for (const unsigned frequencyMHz : {690, 722, 738, 770, 794, 842})
        viewer.addTransponder(frequencyMHz);
    EXPECT_EQ(viewer.countServices(), 0u);
    EXPECT_TRUE(viewer.listedScan());
    viewer.awaitCompletion();
    EXPECT_EQ(viewer.countServices(), 96u);
    const auto events = viewer.take();
    EXPECT_TRUE(isInOrder(events)) << events;
    EXPECT_TRUE(events.ends_with(" 100 complete ")) << events;
}

TEST_F(ScanTest, SixtyFourSubscribersGetTheSameSequence) {
    HeldClock time(start);
    std::vector<Viewer> viewers(64);
    EXPECT_TRUE(viewers[0].blindScan());
    std::string expected = "start 0 ";
    for (int second = 1; second <= 48; ++second) {
        time.advance(1);
        time.run();
        expected += std::to_string(second * 100 / 48) + " ";
    }
    for (auto& viewer : viewers) {
        viewer.awaitCompletion();
        EXPECT_EQ(viewer.take(), expected + "complete ");
    }
}

TEST_F(ScanTest, TwoStartEventsComeBeforeTheReply) {
    const HeldClock time(start);
    Viewer viewer;
    EXPECT_TRUE(viewer.blindScan());
    EXPECT_EQ(viewer.take(), "start 0 ");
    EXPECT_TRUE(viewer.stopScan());
    EXPECT_EQ(viewer.take(), "complete ");
}

TEST_F(ScanTest, ListIsCompleteForWhoeverAsksBecauseOfTheLastEvent) {
    HeldClock time(start);
    Viewer viewer;
    viewer.clear();
    viewer.blindScan();
    time.advance(48);
    time.run();
    viewer.awaitCompletion();
    EXPECT_EQ(viewer.countServices(), 96u);
}

TEST_F(ScanTest, ClientThatDisappearsLeavesItsScanToTheOthers) {
    HeldClock time(start);
    Viewer other;
    {
        Viewer starter;
        EXPECT_TRUE(starter.blindScan());
    }
    time.advance(24);
    time.run();
    time.advance(24);
    time.run();
    other.awaitCompletion();
    EXPECT_EQ(other.take(), "start 0 50 100 complete ");
}

TEST_F(ScanTest, DeletedContextEndsTheScanWithoutCompletion) {
    HeldClock time(start);
    Viewer viewer;
    Viewer deleter;
    EXPECT_TRUE(viewer.blindScan());
    time.advance(12);
    time.run();
    deleter.deleteContext();
    time.advance(36);
    time.run();
    EXPECT_EQ(countTasks(), 0u);
    EXPECT_FALSE(viewer.stopScan());
    EXPECT_EQ(viewer.take(), "start 0 25 ");
}

/// Seconds that the storm lasts: 3, or what OSTREL_STORM_SECONDS says.
std::chrono::seconds stormTime() {
    const char* const seconds = std::getenv("OSTREL_STORM_SECONDS");
    return std::chrono::seconds(seconds != nullptr ? std::atoi(seconds) : 3);
}

TEST_F(ScanTest, StormOfEightClients) {
    std::vector<Viewer> viewers(8);
    const auto end = std::chrono::steady_clock::now() + stormTime();
    std::vector<std::thread> threads;
    std::atomic<unsigned> calls = 0;
    for (unsigned i = 0; i < viewers.size(); ++i)
        threads.emplace_back([&, i] {
            Viewer& viewer = viewers[i];
            std::mt19937 random(i);
            while (std::chrono::steady_clock::now() < end) {
                ++calls;
                switch (random() % 8) {
                case 0:
                    viewer.blindScan();
                    break;
                case 1:
                    viewer.listedScan();
                    break;
                case 2:
                    if (random() % 16 == 0) // so that some scans get somewhere
                        viewer.stopScan();
                    break;
                case 3:
                    viewer.call("ITVService::serviceListSet", R"({"base":"all"})");
                    viewer.call("ITVService::serviceListSeek", R"({"offset":0,"whence":0})");
                    viewer.call("ITVService::serviceListDelete", "{}");
                    break;
                case 4:
                    viewer.call("ITVService::serviceListSeek", R"({"offset":0,"whence":3})");
                    break;
                case 5:
                    viewer.call("ITVConfig::scanInfoGet", R"({"sourceId":7})");
                    break;
                default:
                    viewer.call("ITVService::serviceListSet", R"({"base":"new"})");
                    viewer.call("ITVService::serviceListRead", R"({"limit":100})");
                    break;
                }
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_GT(calls, viewers.size());

    // A last scan of its own tells every client that it has seen all others.
    viewers[0].stopScan();
    viewers[0].clear();
    EXPECT_TRUE(viewers[0].listedScan());
    viewers[0].stopScan();
    const std::string last = "start 0 100 complete ";
    std::optional<std::string> first;
    for (auto& viewer : viewers) {
        std::string events = viewer.take();
        while (!events.ends_with(last)) {
            viewer.awaitCompletion();
            events += viewer.take();
        }
        EXPECT_TRUE(isInOrder(events)) << events;
        EXPECT_EQ(events, first.value_or(events)) << "all see the same";
        first = events;
    }
}

} // namespace
} // namespace Ostrel::Test
