#include "bench/Load.h"

#include "bench/RequestReader.h"
#include "bench/WireCall.h"
#include "bench/Yardstick.h"
#include "tests/support/WireClient.h"

#include <gtest/gtest.h>

#include <stdexcept>
#include <string>
#include <thread>
#include <utility>

#include <arpa/inet.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

namespace Ostrel::Bench {

namespace {

using namespace std::chrono_literals;

/// Takes one connection and answers on it until it is closed.
class Answerer {
public:
    /// @param reply    as it travels
    /// @param together so many requests are waited for and answered at once
    explicit Answerer(std::string reply, std::size_t together = 1)
        : reply_(std::move(reply)), together_(together), thread_([this] { run(); }) {}

    ~Answerer() {
        ::shutdown(listener_, SHUT_RDWR);
        thread_.join();
        ::close(listener_);
    }

    Answerer(const Answerer&) = delete;
    Answerer& operator=(const Answerer&) = delete;

    std::uint16_t getPort() const {
        sockaddr_in name{};
        socklen_t size = sizeof name;
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&name), &size);
        return ntohs(name.sin_port);
    }

private:
    static void send(int socket, const std::string& bytes) {
        ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    }

    void run() {
        const int socket = ::accept(listener_, nullptr, nullptr);
        RequestReader reader;
        std::size_t waiting = 0;
        char buffer[4096];
        for (ssize_t size = 0; (size = ::recv(socket, buffer, sizeof buffer, 0)) > 0;) {
            const auto found = reader.take({buffer, std::size_t(size)});
            if (found.isUpgrade)
                send(socket, upgradeAnswer);
            for (waiting += found.ids.size(); waiting >= together_; waiting -= together_)
                for (std::size_t i = 0; i != together_; ++i)
                    send(socket, reply_);
        }
        ::close(socket);
    }

    const int listener_ = Yardstick().listen();
    const std::string reply_;
    const std::size_t together_;
    std::thread thread_;
};

const std::string reply = serverFrame(R"({"jsonrpc":"2.0","id":1,"result":5})");
const std::string question = Ostrel::Test::frame(1, R"({"jsonrpc":"2.0","id":1,"method":"any"})");

TEST(LoadTest, AsksAtLeastAsOftenAsMayBeUnderWay) {
    Answerer answerer(reply);
    Load load(answerer.getPort(), {.request = question, .depth = 16});
    EXPECT_EQ(load.run(0s).latency.getCount(), 16u);
    EXPECT_GE(load.run(1ms).latency.getCount(), 16u);
}

TEST(LoadTest, NeverHasMoreUnderWayThanItMay) {
    Answerer answerer(reply, 3); // with fewer it would wait forever, with more it would be asked for six
    Load load(answerer.getPort(), {.request = question, .depth = 3});
    EXPECT_EQ(load.run(0s).latency.getCount(), 3u);
}

TEST(LoadTest, AsksByPost) {
    Answerer answerer("HTTP/1.1 200 OK\r\nContent-Length: 2\r\n\r\n{}");
    Load load(answerer.getPort(),
              {.request = "POST / HTTP/1.1\r\nContent-Length: 1\r\n\r\n1", .isWebSocket = false});
    EXPECT_EQ(load.run(0s).latency.getCount(), 1u);
}

TEST(LoadTest, PacedItAsksForEachThatIsDue) {
    Answerer answerer(reply);
    Load load(answerer.getPort(), {.request = question, .perSecond = 1000});
    EXPECT_EQ(load.run(30ms).latency.getCount(), 30u);
}

TEST(LoadTest, PacedItWaitsForNoAnswer) {
    Answerer answerer(reply, 10);
    Load load(answerer.getPort(), {.request = question, .perSecond = 1000});
    const auto result = load.run(10ms);
    EXPECT_EQ(result.latency.getCount(), 10u);
    EXPECT_GE(result.latency.getMicros(1), 9000) << "the first was due nine calls before the last";
    EXPECT_GE(result.latency.getMicros(0.5), 4000);
}

TEST(LoadTest, AnErrorIsNoAnswer) {
    Answerer answerer(serverFrame(R"({"jsonrpc":"2.0","id":1,"error":{"code":-32601}})"));
    Load load(answerer.getPort(), {.request = question});
    EXPECT_THROW(load.run(0s), std::runtime_error);
}

TEST(LoadTest, NotificationsAreNoAnswers) {
    Answerer answerer(serverFrame(R"({"jsonrpc":"2.0","method":"ITVConfig::onScanStart"})") + reply);
    Load load(answerer.getPort(), {.request = question});
    EXPECT_EQ(load.run(0s).latency.getCount(), 1u);
}

} // namespace

} // namespace Ostrel::Bench
