#pragma once

#include <string_view>

namespace Ostrel {

/// Returns the credentials of an Authorization header with the Bearer scheme; else nothing.
std::string_view bearerOf(std::string_view authorization);

/// What a WebSocket client offers in Sec-WebSocket-Protocol.
struct SubProtocols {
    std::string_view chosen; ///< the one to echo; empty for none
    std::string_view token; ///< from "bearer.TOKEN"; empty when none was offered
};

/// Chooses "jsonrpc" when it is offered, otherwise the first offer that is no token.
SubProtocols chooseSubProtocol(std::string_view offers);

} // namespace Ostrel
