#pragma once

#include "Ostrel/transport/Http.h"
#include "Ostrel/transport/Socket.h"

#include <string>

namespace Ostrel {

/// What an upgrade request to a WebSocket is answered.
struct WebSocketHandshake {
    /// @param executor     of the connection
    /// @param subProtocol  to be echoed; empty for none
    WebSocketHandshake(const Socket::executor_type& executor, const Http::Request& request,
                       const std::string& subProtocol);

    std::string answer;
    bool isAccepted;
};

} // namespace Ostrel
