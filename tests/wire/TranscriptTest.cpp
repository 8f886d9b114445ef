#include "tests/wire/Transcript.h"
#include "tests/support/HeldClock.h"
#include "tests/support/LogCapture.h"
#include "tests/support/WireClient.h"
#include "tests/wire/TheHost.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Ostrel::Test {
namespace {

/// A client's way to say a transcript's requests and to hear what is said to it.
class Conversation {
public:
    virtual ~Conversation() = default;

    virtual void say(const std::string& request) = 0;

    /// The next reply or notification.
    virtual std::string hear() = 0;

    virtual bool hearsNotifications() const = 0;
};

class WebSocketConversation final : public Conversation {
public:
    WebSocketConversation(const Address& address, const std::string& path) : client_(address) {
        client_.upgrade(path);
    }

    void say(const std::string& request) override { client_.sendText(request); }
    std::string hear() override { return client_.readFrame().payload; }
    bool hearsNotifications() const override { return true; }

private:
    WireClient client_;
};

class PostConversation final : public Conversation {
public:
    PostConversation(const Address& address, std::string path) : client_(address), path_(std::move(path)) {}

    void say(const std::string& request) override {
        EXPECT_EQ(body_, "") << "before " << request;
        auto answer = client_.post(path_, request);
        EXPECT_EQ(answer.status, answer.body.empty() ? 204 : 200) << "after " << request;
        body_ = std::move(answer.body);
    }
    std::string hear() override { return std::exchange(body_, {}); }
    bool hearsNotifications() const override { return false; }

private:
    WireClient client_;
    const std::string path_;
    std::string body_; ///< of the latest answer, until it is heard
};

class TranscriptTest : public testing::TestWithParam<std::string> {
protected:
    void play(Conversation&& conversation) {
        std::string request;
        for (const auto& line : readTranscript(GetParam())) {
            switch (line.mark) {
            case TranscriptLine::Mark::Request:
                request = fill(line.text);
                conversation.say(request);
                break;
            case TranscriptLine::Mark::Notification:
                if (!conversation.hearsNotifications())
                    break;
                [[fallthrough]];
            case TranscriptLine::Mark::Reply: {
                const auto heard = conversation.hear();
                learnContext(line.text, heard);
                keep(unfill(heard));
                if (heard != fill(line.text) && std::getenv("OSTREL_MEND") != nullptr)
                    mendTranscript(GetParam(), line.number, unfill(heard));
                EXPECT_EQ(heard, fill(line.text))
                    << "after " << request
                    << "\nIf that is meant:\n    OSTREL_MEND=1 build/release/tests/wire/wire-tests "
                       "--gtest_filter='*TranscriptTest*'";
                break;
            }
            case TranscriptLine::Mark::Clock:
                time_.advance(std::stoi(line.text));
                time_.run();
                break;
            }
        }
        // Whatever came that the transcript does not know stands before this reply.
        conversation.say("[]");
        EXPECT_EQ(conversation.hear(),
                  R"({"jsonrpc":"2.0","id":null,"error":{"code":-32600,"message":"the batch is empty"}})");
    }

    /// The server that the transcript is of.
    static std::string path() { return GetParam() == "simulator" ? "/rpc/Simulator" : "/rpc/TV"; }

    const std::vector<Address> addresses_ = theHost().getAddresses();

private:
    void learnContext(const std::string& expected, const std::string& heard) {
        const auto at = expected.find(contextVariable);
        if (context_.empty() && at < heard.size())
            context_ = heard.substr(at, heard.find_first_not_of("0123456789", at) - at);
    }

    /// ./dev compare holds what is heard on one machine to what is heard on another.
    static void keep(const std::string& heard) {
        if (const char* const path = std::getenv("OSTREL_HEARD"))
            std::ofstream(path, std::ios::app) << heard << '\n';
    }

    std::string fill(std::string text) const {
        constexpr std::string_view isBuiltIn = R"("builtIn":true)";
        if (const auto at = text.find(isBuiltIn); at != std::string::npos && loadedWorld() != nullptr)
            text.replace(at, isBuiltIn.size(), R"("builtIn":false)");
        for (std::size_t at = 0; !context_.empty() && (at = text.find(contextVariable)) != std::string::npos;)
            text.replace(at, contextVariable.size(), context_);
        return text;
    }

    /// The other way: how a transcript writes what was heard.
    std::string unfill(std::string text) const {
        for (std::size_t at = 0; !context_.empty() && (at = text.find(context_, at)) != std::string::npos;)
            text.replace(at, context_.size(), contextVariable);
        return text;
    }

    const LogCapture log_;
    HeldClock time_{1318762900}; ///< a hundred seconds into an hour of 16 October 2011
    std::string context_; ///< the number that stands for $context
};

TEST_P(TranscriptTest, OverAWebSocket) {
    play(WebSocketConversation(addresses_[0], path()));
}

TEST_P(TranscriptTest, OverAUnixDomainSocket) {
    play(WebSocketConversation(addresses_[1], path()));
}

TEST_P(TranscriptTest, OverPost) {
    play(PostConversation(addresses_[0], path()));
}

INSTANTIATE_TEST_SUITE_P(Transcripts, TranscriptTest, testing::ValuesIn(findTranscripts()),
                         [](const auto& row) { return row.param; });

} // namespace
} // namespace Ostrel::Test
