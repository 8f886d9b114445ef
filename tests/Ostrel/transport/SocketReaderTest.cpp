#include "Ostrel/transport/SocketReader.h"

#include <boost/asio/basic_socket_acceptor.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/connect_pair.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/write.hpp>
#include <gtest/gtest.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace Ostrel {
namespace {

namespace asio = boost::asio;
using namespace std::chrono_literals;

using asio::ip::tcp;
using Local = asio::local::stream_protocol;

/// Reads on until told not to, as a connection does.
class SocketReaderTest : public testing::TestWithParam<bool> {
protected:
    SocketReaderTest() {
        if (GetParam()) {
            asio::basic_socket_acceptor<tcp, asio::io_context::executor_type> acceptor(
                context_, tcp::endpoint(asio::ip::address_v4::loopback(), 0));
            asio::basic_stream_socket<tcp, asio::io_context::executor_type> client(context_);
            client.connect(acceptor.local_endpoint());
            client_.emplace(std::move(client));
            ours_.emplace(acceptor.accept());
        } else {
            asio::basic_stream_socket<Local, asio::io_context::executor_type> one(context_), other(context_);
            asio::local::connect_pair(one, other);
            client_.emplace(std::move(one));
            ours_.emplace(std::move(other));
        }
        socketReader_.emplace(*ours_, [this](const boost::system::error_code& failure, std::size_t size) {
            received_.append(room_.data(), size);
            failure_ = failure;
            if (!failure && readsOn_)
                read();
        });
    }

    ~SocketReaderTest() override {
        ours_->close();
        context_.restart();
        context_.poll(); // a read that a failure has left under way
    }

    void read() { socketReader_->read(asio::buffer(room_), keeper_); }

    void send(const std::string& bytes) { asio::write(*client_, asio::buffer(bytes)); }

    /// Runs until so many bytes have come or reading has failed; false when neither comes about.
    bool run(std::size_t size) {
        context_.restart();
        while (received_.size() < size && !failure_)
            if (context_.run_one_for(10s) == 0)
                return false;
        return true;
    }

    asio::io_context context_;
    const std::shared_ptr<int> keeper_ = std::make_shared<int>();
    std::optional<Socket> client_;
    std::optional<Socket> ours_;
    std::optional<SocketReader> socketReader_;
    std::array<char, 4> room_{};
    bool readsOn_ = true;
    std::string received_;
    boost::system::error_code failure_;
};

INSTANTIATE_TEST_SUITE_P(Sockets, SocketReaderTest, testing::Bool(),
                         [](const auto& row) { return row.param ? "Tcp" : "Unix"; });

TEST_P(SocketReaderTest, ComeInOrderHoweverManyThereAre) {
    read();
    std::string all;
    for (std::size_t size = 1; size != 40; ++size) {
        send(std::string(size, static_cast<char>('0' + size)));
        all.append(size, static_cast<char>('0' + size));
        ASSERT_TRUE(run(all.size()));
        EXPECT_EQ(received_, all);
    }
    client_->close();
    EXPECT_TRUE(run(all.size() + 1));
    EXPECT_EQ(failure_, asio::error::eof);
}

TEST_P(SocketReaderTest, MayComeBetweenTwoReads) {
    readsOn_ = false;
    for (std::size_t count = 1; count != 20; ++count) {
        read();
        send("a");
        ASSERT_TRUE(run(2 * count - 1));
        send("b");
        read();
        ASSERT_TRUE(run(2 * count));
    }
}

TEST_P(SocketReaderTest, TheEndMayComeTogetherWithTheLastBytes) {
    read();
    context_.poll();
    send("all");
    client_->shutdown(Socket::shutdown_send);
    EXPECT_TRUE(run(4));
    EXPECT_EQ(received_, "all");
    EXPECT_EQ(failure_, asio::error::eof);
}

TEST_P(SocketReaderTest, ClosingEndsTheRead) {
    read();
    context_.poll();
    ours_->close();
    EXPECT_TRUE(run(1));
    EXPECT_EQ(failure_, asio::error::operation_aborted);
    EXPECT_EQ(keeper_.use_count(), 1);
}

class TcpSocketReaderTest : public SocketReaderTest {};

INSTANTIATE_TEST_SUITE_P(Sockets, TcpSocketReaderTest, testing::Values(true),
                         [](const auto&) { return "Tcp"; });

TEST_P(TcpSocketReaderTest, NobodyLooksForMoreBehindAReadThatHasLeftNothing) {
    readsOn_ = false;
    read();
    send("a");
    ASSERT_TRUE(run(1));
    send("b");
    read();
    EXPECT_EQ(ours_->available(), 1u);
    ASSERT_TRUE(run(2));
}

} // namespace
} // namespace Ostrel
