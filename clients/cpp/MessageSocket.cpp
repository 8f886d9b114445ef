#include "clients/cpp/MessageSocket.h"

#include "clients/cpp/Errors.h"
#include "clients/cpp/NameLookup.h"

#include <boost/asio/connect.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/local/stream_protocol.hpp>
#include <boost/asio/signal_set.hpp>
#include <boost/beast/core/buffers_to_string.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/field.hpp>
#include <boost/beast/websocket.hpp>

#include <algorithm>
#include <utility>
#include <vector>

namespace Ostrel::Client {

namespace {

namespace asio = boost::asio;
namespace beast = boost::beast;
namespace websocket = beast::websocket;

using boost::system::error_code;
using Protocol = asio::generic::stream_protocol;
using TimePoint = MessageSocket::TimePoint;

constexpr std::chrono::seconds goodByeTime{1};

// One reply is at most 64 MiB; the frame around it adds little.
constexpr std::size_t largestMessage = 65U << 20;

std::string firstLine(const std::string& text) {
    return text.substr(0, text.find_first_of("\r\n"));
}

} // namespace

class MessageSocket::Stream {
public:
    Stream(const Url& url, const ClientOptions& options)
        : url_(url), deadline_(deadlineAfter(options.timeout)), signals_(io_), stream_(io_) {
        for (const int signal : options.stopSignals)
            signals_.add(signal);
        if (!options.stopSignals.empty())
            watchSignals();
        connect();
        shakeHands(options.token);
    }

    ~Stream() {
        if (lost_)
            return;
        interrupted_.reset(); // from here on only a second interrupt counts
        try {
            await(std::chrono::steady_clock::now() + goodByeTime, [this](auto handler) {
                stream_.async_close(websocket::close_code::normal, std::move(handler));
            });
        } catch (const std::exception&) {
            // Whoever is in such a hurry gets no good-bye.
        }
    }

    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    void send(const std::string& text, TimePoint deadline) {
        if (lost_)
            throw ConnectionLost(*lost_);
        read();
        outgoing_ = text;
        isWriting_ = true;
        stream_.async_write(asio::buffer(outgoing_), [this](error_code error, std::size_t) {
            isWriting_ = false;
            if (error)
                lose(error);
        });
        try {
            runUntil(deadline, [this] { return !isWriting_ || lost_; });
        } catch (...) {
            abandonWrite();
            throw;
        }
        abandonWrite();
        if (lost_ && !hasMessage_)
            throw ConnectionLost(*lost_);
    }

    std::optional<std::string> receive(TimePoint deadline) {
        read();
        runUntil(deadline, [this] { return hasMessage_ || lost_; });
        if (hasMessage_)
            return takeMessage();
        if (lost_)
            throw ConnectionLost(*lost_);
        return std::nullopt;
    }

    std::optional<std::string> takeReady() {
        read();
        while (!hasMessage_ && !lost_ && pollOne()) {
        }
        return hasMessage_ ? std::optional(takeMessage()) : std::nullopt;
    }

    const std::optional<std::string>& getLoss() const { return lost_; }

    int getDescriptor() { return stream_.next_layer().native_handle(); }

private:
    std::string takeMessage() {
        hasMessage_ = false;
        std::string text = beast::buffers_to_string(incoming_.data());
        incoming_.clear();
        return text;
    }

    void connect() {
        std::vector<Protocol::endpoint> endpoints;
        if (url_.isUnix())
            endpoints.emplace_back(asio::local::stream_protocol::endpoint(url_.getSocketPath()));
        else
            endpoints = resolve();
        const auto error = await(deadline_, [&](auto handler) {
            asio::async_connect(stream_.next_layer(), endpoints, std::move(handler));
        });
        if (error)
            refuse(ConnectError::Cause::Unreachable, error.message());
        if (!url_.isUnix()) {
            error_code ignored;
            stream_.next_layer().set_option(asio::ip::tcp::no_delay(true), ignored);
        }
    }

    std::vector<Protocol::endpoint> resolve() {
        error_code error;
        const auto address = asio::ip::make_address(url_.getHost(), error);
        if (!error)
            return {asio::ip::tcp::endpoint(address, url_.getPort())};
        const NameLookup lookup(url_.getHost(), std::to_string(url_.getPort()), io_);
        const auto work = asio::make_work_guard(io_);
        if (!runUntil(deadline_, [&lookup] { return lookup.isDone(); }))
            refuse(ConnectError::Cause::Unreachable, error_code(asio::error::timed_out).message());
        const auto& [failure, endpoints] = lookup.getAnswer();
        if (failure)
            refuse(ConnectError::Cause::Unreachable, failure.message());
        return endpoints;
    }

    void shakeHands(const std::string& token) {
        stream_.read_message_max(largestMessage);
        stream_.auto_fragment(false);
        stream_.text(true);
        stream_.set_option(websocket::stream_base::decorator([token](websocket::request_type& request) {
            request.set(beast::http::field::user_agent, "ostrel-client");
            if (!token.empty())
                request.set(beast::http::field::authorization, "Bearer " + token);
        }));
        websocket::response_type answer;
        const auto error = await(deadline_, [&](auto handler) {
            stream_.async_handshake(answer, url_.getAuthority(), url_.getTarget(), std::move(handler));
        });
        if (!error)
            return;
        if (error != websocket::error::upgrade_declined)
            refuse(ConnectError::Cause::Unreachable, error.message()); // what answers there is something else

        std::string text = std::to_string(answer.result_int()) + " " + std::string(answer.reason());
        if (const auto reason = firstLine(answer.body()); !reason.empty())
            text += ": " + reason;
        refuse(answer.result() == beast::http::status::unauthorized ? ConnectError::Cause::TokenRefused
                                                                    : ConnectError::Cause::Refused,
               text);
    }

    [[noreturn]] void refuse(ConnectError::Cause cause, const std::string& why) {
        throw ConnectError(cause, "cannot connect to " + url_.getAddress() + ": " + why);
    }

    /// Keeps one read under way, so that pings are answered and a close is noticed.
    void read() {
        if (isReading_ || hasMessage_ || lost_)
            return;
        isReading_ = true;
        stream_.async_read(incoming_, [this](error_code error, std::size_t) {
            isReading_ = false;
            if (error)
                lose(error);
            else
                hasMessage_ = true;
        });
    }

    void lose(const error_code& error) {
        if (lost_)
            return;
        std::string why = error == asio::error::eof ? "the other side closed it" : error.message();
        if (error == websocket::error::closed) {
            why = "the service closed it with " + std::to_string(stream_.reason().code);
            if (const auto reason = stream_.reason().reason; !reason.empty())
                why += " (" + std::string(reason.data(), reason.size()) + ")";
        }
        lost_ = "lost the connection to " + url_.getAddress() + ": " + why;
        closeSocket();
    }

    /// Gives the connection up when a request went out in part only: no other may follow it.
    void abandonWrite() {
        if (!isWriting_ || lost_)
            return;
        lost_ = "lost the connection to " + url_.getAddress() + ": it took only part of a request";
        closeSocket();
    }

    void closeSocket() {
        error_code ignored;
        stream_.next_layer().close(ignored);
    }

    void watchSignals() {
        signals_.async_wait([this](error_code error, int signal) {
            if (error)
                return;
            interrupted_ = signal;
            watchSignals();
        });
    }

    /// Carries out one thing that is ready; false when there is none.
    bool pollOne() {
        if (io_.stopped())
            io_.restart();
        return io_.poll_one() > 0;
    }

    /// Carries out what is under way until the condition holds; false at the deadline.
    template <class Condition> bool runUntil(TimePoint deadline, Condition isMet) {
        while (!interrupted_ && !isMet()) {
            if (pollOne())
                continue;
            if (deadline == never)
                io_.run_one();
            else if (io_.run_one_until(deadline) == 0 && std::chrono::steady_clock::now() >= deadline)
                return false;
        }
        if (const auto signal = std::exchange(interrupted_, std::nullopt))
            throw Interrupted(*signal);
        return true;
    }

    /// Starts one operation and waits for its end. What the operation refers to must live
    /// in this call or longer: when the wait fails the socket is closed, and the
    /// operation ended, before this returns.
    template <class Start> error_code await(TimePoint deadline, Start start) {
        std::optional<error_code> outcome;
        start([&outcome](error_code error, const auto&...) { outcome = error; });
        try {
            if (runUntil(deadline, [&outcome] { return outcome.has_value(); }))
                return *outcome;
        } catch (...) {
            endOperation(outcome);
            throw;
        }
        endOperation(outcome);
        return asio::error::timed_out;
    }

    void endOperation(const std::optional<error_code>& outcome) {
        signals_.clear();
        signals_.cancel();
        closeSocket();
        while (!outcome) {
            if (io_.stopped())
                io_.restart();
            if (io_.run_one() == 0)
                return;
        }
    }

    const Url url_;
    const TimePoint deadline_; ///< for the connection to stand
    asio::io_context io_{1};
    asio::signal_set signals_;
    websocket::stream<Protocol::socket> stream_;
    beast::flat_buffer incoming_;
    std::string outgoing_; ///< belongs to the write under way
    bool isReading_ = false;
    bool isWriting_ = false;
    bool hasMessage_ = false; ///< incoming_ holds a whole one
    std::optional<int> interrupted_; ///< the signal that is to end a wait
    std::optional<std::string> lost_; ///< why, once it is
};

TimePoint MessageSocket::deadlineAfter(std::chrono::milliseconds timeout) {
    const auto now = std::chrono::steady_clock::now();
    // Compared in milliseconds: the clock counts nanoseconds, of which there are fewer.
    const auto rest = std::chrono::floor<std::chrono::milliseconds>(never - now);
    return timeout < rest ? now + std::max(timeout, std::chrono::milliseconds(0)) : never;
}

MessageSocket::MessageSocket(const Url& url, const ClientOptions& options)
    : stream_(std::make_unique<Stream>(url, options)) {}

MessageSocket::~MessageSocket() = default;

void MessageSocket::send(const std::string& text, TimePoint deadline) {
    stream_->send(text, deadline);
}

std::optional<std::string> MessageSocket::receive(TimePoint deadline) {
    return stream_->receive(deadline);
}

std::optional<std::string> MessageSocket::takeReady() {
    return stream_->takeReady();
}

const std::optional<std::string>& MessageSocket::getLoss() const {
    return stream_->getLoss();
}

int MessageSocket::getDescriptor() const {
    return stream_->getDescriptor();
}

} // namespace Ostrel::Client
