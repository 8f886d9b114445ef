#include "tests/support/FakeTime.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WireClient.h"
#include "tests/wire/TheHost.h"

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::Test {
namespace {

/// One message to the service and what comes back; an empty reply is none.
struct Exchange {
    std::string request;
    std::string reply;
};

/// Reads a transcript: "> " before a request, "< " before its reply, "#" before a comment.
std::vector<Exchange> readTranscript(const std::string& name) {
    std::ifstream file(OSTREL_TRANSCRIPTS "/" + name + ".txt");
    std::vector<Exchange> exchanges;
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("> "))
            exchanges.push_back({line.substr(2), {}});
        else if (line.starts_with("< "))
            exchanges.back().reply = line.substr(2);
    }
    return exchanges;
}

/// Plays a transcript. "$context" stands for the number that the service gave in its place.
class Player {
public:
    /// @param exchange  sends a request and returns the reply, or an empty text when none came
    explicit Player(std::function<std::string(const Exchange&)> exchange) : exchange_(std::move(exchange)) {}

    void play(const std::vector<Exchange>& transcript) {
        for (const auto& each : transcript) {
            const Exchange filled{fill(each.request), each.reply};
            const auto reply = exchange_(filled);
            if (const auto at = each.reply.find(variable); context_.empty() && at != std::string::npos)
                context_ = reply.substr(at, reply.find_first_not_of("0123456789", at) - at);
            EXPECT_EQ(reply, fill(each.reply)) << "after " << filled.request;
        }
    }

private:
    static constexpr std::string_view variable = "$context";

    std::string fill(std::string text) const {
        for (std::size_t at = 0; !context_.empty() && (at = text.find(variable)) != std::string::npos;)
            text.replace(at, variable.size(), context_);
        return text;
    }

    std::function<std::string(const Exchange&)> exchange_;
    std::string context_;
};

class TranscriptTest : public testing::TestWithParam<const char*> {
protected:
    void SetUp() override { ASSERT_FALSE(transcript_.empty()); }

    void playOverWebSocket(const Address& address) {
        WireClient client(address);
        client.upgrade();
        Player([&](const Exchange& each) {
            client.sendText(each.request);
            // Without a reply to wait for, the next one tells whether there was one after all.
            return each.reply.empty() ? std::string() : client.readReply();
        }).play(transcript_);
    }

    const std::vector<Exchange> transcript_ = readTranscript(GetParam());
    const LogCapture log_;
    const FakeTime time_{1318762900}; ///< a hundred seconds into an hour of 16 October 2011
    Host& host_ = theHost();
};

TEST_P(TranscriptTest, OverAWebSocket) {
    playOverWebSocket(host_.getAddresses()[0]);
}

TEST_P(TranscriptTest, OverAUnixDomainSocket) {
    playOverWebSocket(host_.getAddresses()[1]);
}

TEST_P(TranscriptTest, OverPost) {
    WireClient client(host_.getAddresses()[0]);
    Player([&](const Exchange& each) {
        const auto answer = client.post("/rpc/TV", each.request);
        EXPECT_EQ(answer.status, each.reply.empty() ? 204 : 200);
        return answer.body;
    }).play(transcript_);
}

INSTANTIATE_TEST_SUITE_P(Transcripts, TranscriptTest,
                         testing::Values("guide", "navigation", "refusals", "scan"),
                         [](const auto& row) { return std::string(row.param); });

} // namespace
} // namespace Ostrel::Test
