#include "tests/support/CollidingKeys.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WireClient.h"
#include "tests/wire/TheHost.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <ctime>
#include <set>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::Test {
namespace {

// What one client does must not be felt by another. Times are compared with those of the same work
// in the same run.

std::string call(const std::string& method, const std::string& context, const std::string& payload = "{}") {
    return R"({"jsonrpc":"2.0","id":1,"method":")" + method + R"(","params":{"context":)" + context +
           R"(,"payload":)" + payload + "}}";
}

std::string createContext(WireClient& client) {
    const auto reply = client.call(R"({"jsonrpc":"2.0","id":1,"method":"ITVService::createContext"})");
    const auto value = reply.find("\"result\":") + 9;
    return reply.substr(value, reply.find('}', value) - value);
}

/// Queries for 256 texts that no event holds.
std::string dearBatch(const std::string& context) {
    constexpr std::string_view rare = "~^|<>{}[]@#$%*+=";
    std::string texts;
    for (const char first : rare)
        for (const char second : rare)
            texts += (texts.empty() ? "\"" : ",\"") + std::string{first, second} + '"';
    const auto query = call("ITVGuide::queryEventInfo", context,
                            R"({"query":{"stringMatchDescription":true,"stringList":[)" + texts + "]}}");
    std::string batch = "[" + query;
    for (int i = 1; i < 100; ++i)
        batch += "," + query;
    return batch + "]";
}

class NeighbourTest : public testing::Test {
protected:
    using Clock = std::chrono::steady_clock;

    WireClient connect() const { return WireClient(host_.getAddresses().front()); }

    WireClient upgrade() const {
        auto client = connect();
        client.upgrade();
        return client;
    }

    Clock::duration timeOf(const std::string& text) const {
        auto client = upgrade();
        return timeOf(client, text);
    }

    static Clock::duration timeOf(WireClient& client, const std::string& text) {
        const auto began = Clock::now();
        client.call(text);
        return Clock::now() - began;
    }

    /// Whether that many newcomers find a place, all at once.
    bool havePlaces(int number) const {
        std::vector<WireClient> clients;
        for (int i = 0; i < number; ++i)
            clients.push_back(connect());
        try {
            for (auto& client : clients) {
                client.send("GET /healthz HTTP/1.1\r\nHost: localhost\r\n\r\n");
                if (client.readAnswer().status != 200)
                    return false;
            }
            return true;
        } catch (const std::runtime_error&) {
            return false; // refused before it asked
        }
    }

    const LogCapture log_;
    Host& host_ = theHost();
};

// The digest as Boost.JSON has it, over what the escapes stand for.
TEST(CollidingKeysTest, FallIntoOneBucketAtEveryAddress) {
    const auto keys = collidingKeys();
    EXPECT_EQ(std::set(keys.begin(), keys.end()).size(), 32'768u);
    for (const std::uint64_t address : {0x10u, 0x7fe0u, 0xffff1230u}) {
        std::set<std::uint64_t> buckets;
        for (const auto& key : keys) {
            std::uint64_t digest = 0xcbf29ce484222325 + address;
            for (std::size_t i = 1; i < key.size(); i += 2) {
                const auto code = std::string_view("........btn.fr").find(key[i]);
                digest = (digest ^ code) * 0x100000001b3;
            }
            buckets.insert(digest % keys.size());
        }
        EXPECT_EQ(buckets.size(), 1u) << address;
    }
}

TEST_F(NeighbourTest, KeysThatCollideCostNoMoreThanOthers) {
    auto client = upgrade();
    const auto context = createContext(client);
    const auto ticksOf = [&](const std::vector<std::string>& keys) {
        const auto text = call("ITVService::utcTimeGet", context, "{\"note\":" + objectWith(keys) + "}");
        const auto began = std::clock();
        EXPECT_NE(client.call(text).find("\"result\":"), std::string::npos);
        return std::clock() - began;
    };
    const auto scattered = ticksOf(scatteredKeys());
    EXPECT_LT(ticksOf(collidingKeys()), 5 * scattered);
}

// Each of the departed has sent work; done to the end it would take a hundred times as long as one
// batch on two processors.
constexpr int departed = 200;
constexpr int patience = 20; ///< in times of one batch

TEST_F(NeighbourTest, PlacesOfRequestsThatWereResetAreFree) {
    auto owner = upgrade();
    const auto batch = dearBatch(createContext(owner));
    const auto alone = timeOf(batch);
    {
        std::vector<WireClient> clients;
        for (int i = 0; i < departed; ++i) {
            clients.push_back(connect());
            clients.back().send(
                "POST /rpc/TV HTTP/1.1\r\nHost: localhost\r\nContent-Type: application/json\r\n"
                "Content-Length: " +
                std::to_string(batch.size()) + "\r\n\r\n" + batch);
        }
        for (auto& client : clients)
            client.leave();
    }
    const auto began = Clock::now();
    bool free = false;
    while (!free && Clock::now() - began < patience * alone)
        free = havePlaces(departed);
    ASSERT_TRUE(free);
    EXPECT_LT(timeOf(owner, batch), patience * alone); // the newcomers may still be leaving
}

TEST_F(NeighbourTest, BatchesOfClientsThatLeftAreNotCarriedOut) {
    auto owner = upgrade();
    const auto batch = dearBatch(createContext(owner));
    const auto alone = timeOf(batch);
    for (int i = 0; i < departed; ++i)
        upgrade().sendText(batch);
    EXPECT_LT(timeOf(batch), patience * alone);
}

} // namespace
} // namespace Ostrel::Test
