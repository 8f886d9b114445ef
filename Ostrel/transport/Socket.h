#pragma once

#include <boost/asio/basic_stream_socket.hpp>
#include <boost/asio/generic/stream_protocol.hpp>
#include <boost/asio/io_context.hpp>

namespace Ostrel {

/// A TCP or Unix domain socket, on a concrete executor: Asio's erased one costs an allocation
/// a message.
using Socket = boost::asio::basic_stream_socket<boost::asio::generic::stream_protocol,
                                                boost::asio::io_context::executor_type>;

} // namespace Ostrel
