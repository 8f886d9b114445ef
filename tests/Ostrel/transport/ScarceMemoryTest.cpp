// What the platform does when there is no memory: nothing that is thrown leaves a thread, no
// client waits for ever, and the next one is served.

#include "tests/support/ScarceMemory.h"

#if OSTREL_SCARCE_MEMORY

#include "Ostrel/transport/Listener.h"
#include "tests/support/LogCapture.h"
#include "tests/support/Scrape.h"
#include "tests/support/TestServer.h"
#include "tests/support/WireClient.h"

#include <gtest/gtest.h>

#include <new>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

#include <pthread.h>

namespace Ostrel::Test {
namespace {

using namespace std::chrono_literals;

const std::string echoReply = R"({"jsonrpc":"2.0","id":1,"result":"{}"})";

std::string request(const std::string& method, const std::string& params = "{}") {
    return R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":)" + params + '}';
}

constexpr const char* failures = R"(ostrel_connections_cut_off_total{reason="failure"})";
constexpr const char* misses = R"(ostrel_connections_cut_off_total{reason="memory"})";
constexpr const char* internalErrors = R"(ostrel_errors_total{code="-32603"})";

/// The start of a thread's name, and how often it must be tried at least.
struct Place {
    const char* thread;
    int least;
    std::vector<const char*> counted; ///< metrics that tell of it
};

std::ostream& operator<<(std::ostream& out, const Place& place) {
    return out << place.thread;
}

class ScarceMemoryTest : public testing::TestWithParam<Place> {
protected:
    ScarceMemoryTest() {
        server_.on("first", [this](const IRPC::RPCSynchronousMethodObject& call) {
            server_.handleRPCNotification("Test::raised", "{}");
            return TestServer::echo(call);
        });
    }

    /// Everything that a client does, each with its reply or without; it may be cut off anywhere.
    void converse() {
        try {
            WireClient client(listener_.getAddresses().front());
            client.upgrade("/rpc/Test");
            client.call(request("Test::first"));
            client.call(request("Reader::echo"));
            client.call('[' + request("Test::echo") + ',' + request("Test::first") + ',' +
                        request("Reader::echo") + ']');
            client.call(request("Test::echo", R"({"a":")" + std::string(5000, 'x') + R"("})"));
            client.sendFrame(9, "ping");
            client.readFrame();
            client.sendFrame(8, "\x03\xe8");
            client.readFrame();
            WireClient poster(listener_.getAddresses().front());
            poster.post("/rpc/Test", request("Reader::echo"));
            poster.post("/rpc/Test", "nonsense");
            poster.send("GET /metrics HTTP/1.1\r\nHost: localhost\r\n\r\n");
            poster.readAnswer();
        } catch (const std::exception&) {
        }
    }

    const LogCapture log_;
    TestServer server_;
    // A client that nobody could tell that it lacks something is let go when its time runs out.
    Listener listener_{{Address::parse("127.0.0.1:0")}, {{}, {}, ""}, {.limits = {.idleWebSocket = 100ms}}};
};

TEST_P(ScarceMemoryTest, WhicheverAllocationFailsTheNextClientIsServed) {
    const auto before = scrapeMetrics(listener_.getAddresses().front());
    int tried = 0;
    for (;; ++tried) {
        SCOPED_TRACE(tried);
        {
            const ScarceMemory scarce(tried + 1, ScarceMemory::Once, GetParam().thread);
            converse();
            if (!scarce.hasFailed())
                break; // it was not come to any more
        }
        WireClient client(listener_.getAddresses().front());
        client.upgrade("/rpc/Test");
        ASSERT_EQ(client.call(request("Test::echo")), echoReply);
        ASSERT_EQ(client.call(request("Reader::echo")), echoReply);
    }
    EXPECT_GE(tried, GetParam().least);
    const auto after = scrapeMetrics(listener_.getAddresses().front());
    for (const auto* series : GetParam().counted)
        EXPECT_GT(after.at(series), before.at(series)) << series;
}

INSTANTIATE_TEST_SUITE_P(Threads, ScarceMemoryTest,
                         testing::Values(Place{"listener", 100, {failures, internalErrors}},
                                         Place{"turn", 3, {internalErrors}},
                                         Place{"reader", 10, {internalErrors}}),
                         [](const auto& row) { return std::string(row.param.thread); });

TEST(MissedNotificationTest, WhoeverMissesANotificationIsCutOffAndCounted) {
    const LogCapture log;
    TestServer server;
    const Listener listener({Address::parse("127.0.0.1:0")}, {{}, {}, ""},
                            {.limits = {.idleWebSocket = 100ms}});
    const auto& address = listener.getAddresses().front();
    const auto before = scrapeMetrics(address);
    WireClient client(address);
    client.upgrade("/rpc/Test");
    client.call(request("Test::echo")); // has subscribed
    bool fails = true;
    for (int n = 1; fails; ++n) {
        const ScarceMemory scarce(n, ScarceMemory::Once, "raiser");
        std::thread([&] {
            pthread_setname_np(pthread_self(), "raiser");
            try {
                server.handleRPCNotification("Test::raised", "{}");
            } catch (const std::bad_alloc&) {
                // Nobody was told.
            }
        }).join();
        fails = scarce.hasFailed();
    }
    EXPECT_NO_THROW(client.readAll());
    EXPECT_EQ(scrapeMetrics(address).at(misses) - before.at(misses), 1);
}

} // namespace
} // namespace Ostrel::Test

#endif
