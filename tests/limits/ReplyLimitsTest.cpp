// What the service may answer at most, to one client and to all together, with a guide that has more.

#include "tests/limits/FromOutside.h"
#include "tests/support/Child.h"
#include "tests/support/Sanitized.h"

#include <boost/json.hpp>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace Ostrel::Test {
namespace {

/// A guide of more than 100 MiB of documents.
std::string makeBigWorld() {
    static const TempDirectory directory;
    const auto path = directory.file("big.world");
    EXPECT_EQ(Child(OSTREL_WORLD_PROGRAM, {"synthetic", "--services", "400", "-o", path}).wait(), 0);
    return path;
}

class ReplyLimits : public FromOutside {
protected:
    ReplyLimits() : FromOutside({"--hold", "--world", makeBigWorld()}), context_(createContext()) {
        auto client = webSocket();
        client.call(call("ITVService::serviceListSet", context_, R"({"base":"all"})"));
        const auto reply = boost::json::parse(
            client.call(call("ITVService::serviceListGet", context_, R"({"limit":1000})")));
        for (const auto& service : reply.at("result").as_array())
            services_.push_back(service.at("id").to_number<unsigned>());
        std::sort(services_.begin(), services_.end());
        measure(client);
    }

    /// Asks for the documents of the first services.
    std::string ask(std::size_t services, std::string_view id) const {
        return call("ITVGuide::query", context_,
                    R"({"expressionFormat":"quoril","outputFormat":"quoriljson","expression":"ServiceId < )" +
                        std::to_string(services_.at(services)) + R"("})",
                    id);
    }

    /// Asks for an answer of that size.
    std::string askFor(std::size_t size) const {
        return ask(most_, stringOfSize(size - mostBytes_ + shortId.size()));
    }

    static constexpr std::size_t limit = 64 * mebi;
    static constexpr std::string_view shortId = R"("x")";

    const std::string context_;
    std::vector<unsigned> services_; ///< by number
    std::size_t most_ = 0; ///< of the services have documents that fit into an answer
    std::size_t mostBytes_ = 0; ///< of that answer

private:
    /// Finds services whose documents an id makes too large.
    void measure(WireClient& client) {
        constexpr std::size_t longestId = mebi - kibi;
        most_ = services_.size() / 4;
        while (mostBytes_ + longestId < limit) {
            mostBytes_ = client.call(ask(most_, shortId)).size();
            const auto room = limit - mostBytes_;
            if (room >= longestId)
                most_ += std::max<std::size_t>(1, 0.9 * room * most_ / mostBytes_);
        }
    }
};

TEST_F(ReplyLimits, AReplyHas64MiB) {
    auto client = localWebSocket();
    EXPECT_EQ(client.call(askFor(limit)).size(), limit);
    const auto past = client.call(askFor(limit + 1));
    EXPECT_NE(past.find(R"("error":{"code":-32001,)"), std::string::npos);
    EXPECT_LT(past.size(), mebi);
    EXPECT_NE(connect().post("/rpc/TV", askFor(limit + 1)).body.find("-32001"), std::string::npos);
}

TEST_F(ReplyLimits, SoHaveThoseOfABatch) {
    auto client = localWebSocket();
    const auto first = request("nothing", "{}", R"("a")");
    const auto last = request("ITVService::createContext", "{}", R"("b")");
    const auto before = client.call("[" + first + "]").size() - 1; // the bracket; commas are free
    const auto replyTo = [&](std::size_t size) {
        return client.call("[" + first + "," + askFor(size - before) + "," + last + "]");
    };
    const auto tooLarge = R"("error":{"code":-32001,)";
    const auto at = replyTo(limit);
    EXPECT_GT(at.size(), limit);
    EXPECT_EQ(at.find(tooLarge), at.rfind(tooLarge)) << "but for the last";
    EXPECT_LT(at.find(R"("id":"b")"), at.find(tooLarge));
    const auto past = replyTo(limit + 1);
    EXPECT_LT(past.size(), 2 * mebi);
    EXPECT_LT(past.find(R"("id":"a")"), past.find(tooLarge));
    EXPECT_GT(past.find(R"("id":"b","result":)"), past.find(tooLarge));
}

TEST_F(ReplyLimits, FiveHundredTwelveMiBWaitForAllTogether) {
    // Keeping such an answer costs a little less than its limit, or a little more.
    constexpr std::size_t fit = 7, past = 9;
    const auto text = ask(most_, shortId);
    std::vector<WireClient> slow;
    while (slow.size() < past) {
        slow.push_back(localWebSocket());
        slow.back().sendText(text);
        ASSERT_TRUE(slow.back().hasInput(std::chrono::minutes(2)));
    }
    const auto isWhole = [&](WireClient& client) {
        client.shutdownSend();
        return client.readAll().size() > mostBytes_;
    };
    // Who has the most differs by what the system has taken of each already.
    const auto whole = std::count_if(slow.begin(), slow.end(), isWhole);
    EXPECT_GE(whole, fit);
    EXPECT_LT(whole, past);
}

} // namespace
} // namespace Ostrel::Test
