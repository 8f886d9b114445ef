#include "Ostrel/transport/Output.h"

#include "Ostrel/transport/Conversation.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/local/connect_pair.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/read.hpp>
#include <gtest/gtest.h>

#include <chrono>
#include <cstddef>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace Ostrel {
namespace {

namespace asio = boost::asio;
using namespace std::chrono_literals;

using Local = asio::local::stream_protocol;
using LocalSocket = asio::basic_stream_socket<Local, asio::io_context::executor_type>;

/// An open conversation that has nothing but a socket.
class BareConversation : public Conversation {
public:
    explicit BareConversation(LocalSocket socket) : socket_(std::move(socket)) {}

    Phase getPhase() const noexcept override { return Phase::Open; }
    Socket& getSocket() noexcept override { return socket_; }
    Input& getInput() noexcept override { std::abort(); }
    std::chrono::steady_clock::time_point getReadingTime() override { return {}; }
    void inputHeld() override {}
    void heard() override {}
    const Limits& getLimits() const noexcept override { return limits_; }
    void send(std::string, std::string) override {}
    void send(std::string, std::shared_ptr<const RPCNotification>) override {}
    void withdraw(const RPCNotification&) override {}
    void waitingChanged() override {}
    void allSent() override {}
    void countCutOff(Counter&) noexcept override {}
    void sayGoodbye(boost::beast::websocket::close_code) override {}
    void finish() override {}
    void close() noexcept override {}
    void fail(const char*) noexcept override {}
    void giveUp() noexcept override {}

private:
    Socket socket_;
    const Limits limits_;
};

class OutputTest : public testing::Test {
protected:
    OutputTest() {
        LocalSocket ours(context_);
        asio::local::connect_pair(ours, client_);
        conversation_ = std::make_shared<BareConversation>(std::move(ours));
        output_.emplace(*conversation_);
    }

    /// Sends what the system takes.
    void sendSome() {
        context_.restart();
        context_.poll();
    }

    void clientReads(std::size_t size) {
        std::string bytes(size, '\0');
        asio::read(client_, asio::buffer(bytes));
    }

    asio::io_context context_;
    LocalSocket client_{context_};
    std::shared_ptr<BareConversation> conversation_;
    std::optional<Output> output_;
};

TEST_F(OutputTest, GoesOutAtOnce) {
    output_->push("head ", "body");
    EXPECT_EQ(client_.available(), 9u);
    EXPECT_EQ(output_->getWaiting(), 0u);
}

TEST_F(OutputTest, WhatIsHeldGoesOutTogether) {
    output_->hold();
    output_->push("head ", "one");
    output_->push("head ", "two");
    sendSome();
    EXPECT_EQ(client_.available(), 0u);
    EXPECT_EQ(output_->getWaiting(), 16u);
    output_->release();
    EXPECT_EQ(client_.available(), 16u);
    output_->push("head ", "three");
    EXPECT_EQ(client_.available(), 26u);
}

TEST_F(OutputTest, MuchIsNotHeld) {
    output_->hold();
    output_->push(std::string(), std::string(Outbox::mostAtOnce, 'x'));
    EXPECT_EQ(client_.available(), 0u);
    output_->push(std::string(), "x");
    EXPECT_GT(client_.available(), 0u);
}

TEST_F(OutputTest, ClientThatTakesNothingIsStalled) {
    output_->push(std::string(), std::string(4'000'000, 'x'));
    sendSome();
    const auto now = Output::Clock::now();
    EXPECT_FALSE(output_->isStalled(now, 1h));
    EXPECT_FALSE(output_->isStalled(now + 59min, 1h));
    EXPECT_TRUE(output_->isStalled(now + 61min, 1h));
}

TEST_F(OutputTest, ClientThatHasTakenAllIsNotStalled) {
    output_->push(std::string(), "x");
    sendSome();
    EXPECT_FALSE(output_->isStalled(Output::Clock::now() + 2h, 1h));
}

TEST_F(OutputTest, ClientThatTakesLittleIsNotStalled) {
    output_->push(std::string(), std::string(4'000'000, 'x'));
    sendSome();
    const auto waiting = output_->getWaiting();
    const auto now = Output::Clock::now();
    EXPECT_FALSE(output_->isStalled(now, 1h));

    clientReads(65'536);
    sendSome();
    ASSERT_EQ(output_->getWaiting(), waiting) << "the system wants more already";
    EXPECT_FALSE(output_->isStalled(now + 2h, 1h));
    EXPECT_FALSE(output_->isStalled(now + 2h + 59min, 1h));
    EXPECT_TRUE(output_->isStalled(now + 3h + 1min, 1h));
}

TEST_F(OutputTest, ClientThatTakesIsLessOfABurdenThanOneThatDoesNot) {
    const auto now = Output::Clock::now();
    output_->push(std::string(), std::string(400'000, 'x'));
    sendSome();
    EXPECT_GT(output_->getBurden(now), 0);
    const auto burden = output_->getBurden(now + 10s);

    output_->push(std::string(), std::string(40'000'000, 'x'));
    EXPECT_GT(output_->getBurden(now + 10s), 90 * burden);
    clientReads(65'536);
    EXPECT_LT(output_->getBurden(now + 11s), burden);
}

TEST_F(OutputTest, WhatTheSystemHasWaitsForTheClientToo) {
    output_->push(std::string(), std::string(50'000, 'x'));
    sendSome();
    ASSERT_EQ(output_->getWaiting(), 0u);
    const auto now = Output::Clock::now();
    EXPECT_FALSE(output_->hasGivenAll());
    EXPECT_FALSE(output_->isStalled(now, 1h));
    EXPECT_TRUE(output_->isStalled(now + 1h, 1h));

    clientReads(50'000);
    EXPECT_TRUE(output_->hasGivenAll());
    EXPECT_FALSE(output_->isStalled(now + 2h, 1h));
}

TEST_F(OutputTest, SystemThatTakesMoreIsNoClientThatDoes) {
    output_->push(std::string(), std::string(50'000, 'x'));
    sendSome();
    const auto now = Output::Clock::now();
    EXPECT_FALSE(output_->isStalled(now, 1h));
    output_->push(std::string(), std::string(50'000, 'y'));
    sendSome();
    ASSERT_EQ(output_->getWaiting(), 0u);
    EXPECT_TRUE(output_->isStalled(now + 1h, 1h));
}

} // namespace
} // namespace Ostrel
