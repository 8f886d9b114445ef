#include "tests/support/LogCapture.h"
#include "tests/support/WireClient.h"
#include "tests/wire/TheHost.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>
#include <vector>

namespace Ostrel::Test {
namespace {

std::string call(const std::string& method, const std::string& context, const std::string& payload = "{}") {
    return R"({"jsonrpc":"2.0","id":1,"method":"ITVService::)" + method + R"(","params":{"context":)" +
           context + R"(,"payload":)" + payload + "}}";
}

std::string createContext(WireClient& client) {
    const auto reply = client.call(R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})");
    const auto value = reply.find("\"result\":") + 9;
    return reply.substr(value, reply.find('}', value) - value);
}

class StormTest : public testing::Test {
protected:
    WireClient connect() const {
        WireClient client(host_.getAddresses().front());
        client.upgrade();
        return client;
    }

    const LogCapture log_;
    Host& host_ = theHost();
};

TEST_F(StormTest, FiftyClientsComeAndGo) {
    std::atomic<int> wrong = 0;
    std::vector<std::thread> threads;
    for (int i = 0; i < 50; ++i)
        threads.emplace_back([&] {
            const auto expect = [&](const std::string& reply, const char* result) {
                wrong += reply != std::string(R"({"jsonrpc":"2.0","id":1,"result":)") + result + "}";
            };
            auto client = connect();
            for (int k = 0; k < 200; ++k) {
                const auto context = createContext(client);
                expect(client.call(call("serviceListSet", context, R"({"base":"all"})")), "true");
                expect(client.call(call("serviceListSeekByChannelNumber", context, R"({"channelNumber":4})")),
                       "3");
                expect(client.call(call("serviceListSeek", context, R"({"offset":-1,"whence":1})")), "2");
                wrong +=
                    client.call(call("serviceListRead", context, R"({"limit":2})")).find("\"Channel 4\"") ==
                    std::string::npos;
                expect(client.call(call("serviceListSeek", context, R"({"offset":0,"whence":1})")), "4");
                expect(client.call(call("deleteContext", context)), "null");
            }
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}

TEST_F(StormTest, ContextIsDeletedWhileOthersUseIt) {
    for (int round = 0; round < 50; ++round) {
        auto owner = connect();
        const auto context = createContext(owner);
        owner.call(call("serviceListSet", context, R"({"base":"all"})"));
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i)
            threads.emplace_back([&, i] {
                auto client = connect();
                std::string guide =
                    R"({"jsonrpc":"2.0","id":1,"method":"ITVGuide::queryNowNextEventInfo","params":{"context":)" +
                    context + R"(,"payload":{"id":1043}}})";
                const auto list = call("serviceListGet", context, R"({"limit":96})");
                // Until the identifier is gone.
                while (client.call(i == 0 ? guide : list).find("Invalid parameter") == std::string::npos) {
                }
            });
        EXPECT_EQ(owner.call(call("deleteContext", context)), R"({"jsonrpc":"2.0","id":1,"result":null})");
        for (auto& thread : threads)
            thread.join();
    }
}

TEST_F(StormTest, LockLeftHeldHindersNobody) {
    std::atomic<bool> stop = false;
    std::thread wedger([&] {
        auto client = connect();
        const auto context = createContext(client);
        client.call(call("serviceListSet", context, R"({"base":"all"})"));
        while (!stop)
            client.call(call("serviceListSeek", context, R"({"offset":0,"whence":3})"));
    });
    std::vector<std::thread> threads;
    for (int i = 0; i < 3; ++i)
        threads.emplace_back([&] {
            auto client = connect();
            const auto context = createContext(client);
            client.call(call("serviceListSet", context, R"({"base":"all"})"));
            for (int k = 0; k < 300; ++k)
                EXPECT_NE(client.call(call("serviceListGet", context, R"({"limit":3})")).find("\"ITV1\""),
                          std::string::npos);
        });
    for (auto& thread : threads)
        thread.join();
    stop = true;
    wedger.join();
}

TEST_F(StormTest, BatchOfLargeRepliesIsCut) {
    // A hundred of the whole list fit; what a client may get at most is tested with the listener.
    auto client = connect();
    const auto context = createContext(client);
    client.call(call("serviceListSet", context, R"({"base":"all"})"));
    std::string batch = "[";
    for (int i = 0; i < 100; ++i)
        batch += (i == 0 ? "" : ",") + call("serviceListGet", context, R"({"limit":96})");
    const auto reply = client.call(batch + "]");
    EXPECT_EQ(reply.find("error"), std::string::npos);
    EXPECT_GT(reply.size(), 100 * 96 * 100u);
}

} // namespace
} // namespace Ostrel::Test
