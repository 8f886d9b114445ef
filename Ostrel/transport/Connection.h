#pragma once

#include "Ostrel/rpc/IRPC.h"
#include "Ostrel/rpc/RPCNotifier.h"
#include "Ostrel/rpc/RPCServer.h"
#include "Ostrel/transport/Admission.h"
#include "Ostrel/transport/Lanes.h"
#include "Ostrel/transport/Limits.h"

#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace Ostrel {

/// A TCP or Unix domain socket, on a concrete executor: Asio's erased one costs an allocation
/// a message.
using Socket = boost::asio::basic_stream_socket<boost::asio::generic::stream_protocol,
                                                boost::asio::io_context::executor_type>;

class Connection;

/// What the connections of one listener have in common. On the listener's thread, unless said
/// otherwise.
class ConnectionHub {
public:
    virtual ~ConnectionHub() = default;

    virtual const Limits& getLimits() const = 0;
    virtual const Admission& getAdmission() const = 0;
    virtual Lanes& getLanes() = 0;

    /// A connection's waiting bytes have changed. Cuts off the one with the most when all
    /// together wait for too much.
    virtual void addWaiting(std::ptrdiff_t change) = 0;

    /// The connection has closed.
    virtual void remove(Connection& connection) = 0;
};

/// One client's connection: HTTP requests, one after another, or a WebSocket.
///
/// It lives on the listener's thread; only notify() may come from elsewhere. It keeps itself
/// alive while something is under way and is gone soon after it has closed.
class Connection : public RPCSubscriber {
public:
    using Clock = std::chrono::steady_clock;

    /// @param localAddress  the numeric address that the client reached; empty for a Unix
    ///                      domain socket, whose clients may name any host
    static std::shared_ptr<Connection> make(ConnectionHub& hub, Socket socket, std::string localAddress);

    /// Begins to read.
    virtual void start() = 0;

    /// Answers 503 and closes: there are too many connections.
    virtual void refuse() = 0;

    /// Says goodbye, because the host stops.
    virtual void stop() = 0;

    /// Ends the connection now, whatever is under way.
    virtual void close() noexcept = 0;

    /// Cuts off a client that has let too much wait.
    virtual void cutOff() = 0;

    /// Looks whether a time has run out. Called a few times a second.
    virtual void tick(Clock::time_point now) = 0;

    /// Bytes that wait for the client.
    virtual std::size_t getWaiting() const = 0;

    /// Whether it counts as open, not as one that is being refused.
    virtual bool isAdmitted() const = 0;
};

} // namespace Ostrel
