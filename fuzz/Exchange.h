#pragma once

#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/transport/Admission.h"
#include "Ostrel/transport/Connection.h"
#include "Ostrel/transport/ConnectionHub.h"
#include "Ostrel/transport/Page.h"
#include "fuzz/Require.h"
#include "tests/support/TestServer.h"

#include <boost/asio/executor_work_guard.hpp>
#include <boost/asio/io_context.hpp>

#include <array>
#include <atomic>
#include <cerrno>
#include <chrono>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include <sys/socket.h>
#include <unistd.h>

namespace Ostrel::Test {

using Fuzz::require;

/// Cuts bytes into pieces: as many bytes each as the cuts say in turn, and the rest at the end.
inline std::vector<std::string_view> cut(std::string_view bytes, std::string_view cuts) {
    std::vector<std::string_view> pieces;
    for (const char size : cuts) {
        if (bytes.empty())
            break;
        pieces.push_back(bytes.substr(0, std::size_t(static_cast<unsigned char>(size)) + 1));
        bytes.remove_prefix(pieces.back().size());
    }
    if (!bytes.empty())
        pieces.push_back(bytes);
    return pieces;
}

/// What a listener is to its connections, on the caller's thread and without waiting: a client is the other end of
/// a pair of sockets, and no time runs out.
class Exchange final : public ConnectionHub {
public:
    explicit Exchange(const Limits& limits) : limits_(limits) {}

    /// Sends a client's bytes piece by piece, each when all that comes of those before is done, and then the end.
    /// Returns all that the client is sent.
    std::string converse(std::span<const std::string_view> pieces) {
        std::array<int, 2> ends{};
        require(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0, ends.data()) == 0,
                "there is a pair of sockets");
        Socket socket(context_, boost::asio::generic::stream_protocol(AF_UNIX, 0), ends[0]);
        connection_ = std::make_shared<Connection>(*this, std::move(socket), "127.0.0.1",
                                                   std::make_shared<RPCPeer>(1, "fuzz"));
        const std::weak_ptr<Connection> left = connection_;
        connection_->start();

        std::string received;
        for (const auto piece : pieces) {
            if (::send(ends[1], piece.data(), piece.size(), MSG_NOSIGNAL) < 0) {
                require(errno == EPIPE || errno == ECONNRESET, "a piece fits into the socket");
                break;
            }
            settle();
            receive(ends[1], received);
        }
        ::shutdown(ends[1], SHUT_WR);
        settle();
        require(receive(ends[1], received), "the connection ends behind the client's end");
        ::close(ends[1]);
        settle();
        while (!left.expired()) // a thread that has handed a reply over may hold it for a moment
            std::this_thread::yield();
        require(waiting_ == 0, "nothing waits for a client that is gone");
        return received;
    }

    const Limits& getLimits() const override { return limits_; }
    const Admission& getAdmission() const override { return admission_; }
    const Advice& getAdvice() const override { return advice_; }
    const std::string& getMainServer() const override { return mainServer_; }
    const Page& getPage() const override { return page_; }
    Lanes& getLanes() override { return lanes_; }
    MessageBudget& getBudget() override { return budget_; }
    void addWaiting(std::ptrdiff_t change) override { waiting_ += change; }
    void logRefusal(const std::string&) override {}
    void wakeAt(std::chrono::steady_clock::time_point) noexcept override {}
    void lookSoon() noexcept override { looksSoon_ = true; }
    void remove(Connection&) override { connection_.reset(); }

private:
    static constexpr std::array files_ = {
        PageFile{"/index.html", "text/html", "<p>the page</p>", "", "a1", false},
    };

    /// Carries out what can be done now, on other threads, too.
    void settle() {
        for (;;) {
            context_.poll();
            if (looksSoon_.exchange(false) && connection_ != nullptr)
                connection_->tick(std::chrono::steady_clock::now());
            if (connection_ == nullptr || !connection_->isWorking())
                return;
            context_.run_one();
        }
    }

    /// Adds what has come; whether that was all.
    static bool receive(int end, std::string& received) {
        std::array<char, 16384> bytes; // NOLINT(cppcoreguidelines-pro-type-member-init)
        for (;;) {
            const auto size = ::recv(end, bytes.data(), bytes.size(), 0);
            if (size < 0)
                return errno == ECONNRESET;
            if (size == 0)
                return true;
            received.append(bytes.data(), std::size_t(size));
        }
    }

    const Limits limits_;
    const Admission admission_{{"https://tv.example"}, {"tv.example"}, ""};
    const Advice advice_;
    const std::string mainServer_ = "Test";
    const Page page_{files_};
    MessageBudget budget_{limits_.messagesTogether, limits_.message};
    boost::asio::io_context context_{1};
    const boost::asio::executor_work_guard<boost::asio::io_context::executor_type> guard_{
        context_.get_executor()}; ///< what other threads have to do is not seen
    std::atomic<bool> looksSoon_ = false;
    Lanes lanes_{1};
    std::shared_ptr<Connection> connection_;
    std::ptrdiff_t waiting_ = 0;
};

/// What a message is answered; empty for nothing.
inline std::string replyTo(std::string_view text, RPCServer& server, const Limits& limits) {
    RPCMessage message(std::string(text), server, std::make_shared<RPCPeer>(), {limits.reply, limits.batch});
    while (!message.isDone())
        message.step();
    return message.takeReply().text;
}

} // namespace Ostrel::Test
