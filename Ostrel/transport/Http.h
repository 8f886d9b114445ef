#pragma once

#include "Ostrel/transport/Admission.h"
#include "Ostrel/transport/Advice.h"
#include "Ostrel/transport/Answer.h"
#include "Ostrel/transport/Page.h"

#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/system/error_code.hpp>

#include <optional>
#include <string>
#include <string_view>
#include <variant>

namespace Ostrel {

class RPCServer;

/// Decides what becomes of the HTTP requests of one connection. It reads and sends nothing.
class Http {
public:
    using Request = boost::beast::http::request<boost::beast::http::string_body>;

    /// The body is a message for this server.
    struct Call {
        RPCServer& server;
    };
    /// The connection becomes a WebSocket to this server.
    struct Upgrade {
        RPCServer& server;
        std::string subProtocol; ///< to be echoed; empty for none
    };
    using Outcome = std::variant<Answer, Call, Upgrade>;

    /// Refers to its first four arguments.
    /// @param mainServer    the name of the server that /openrpc.json describes
    /// @param page          what is shown where nothing else is
    /// @param localAddress  the numeric address that the client reached; empty for a Unix
    ///                      domain socket, whose clients may name any host
    Http(const Admission& admission, const Advice& advice, const std::string& mainServer, const Page& page,
         std::string localAddress);

    /// What is wrong with a request, whatever its body may be; nothing when it may go on. Who
    /// is not let in is answered with 403, and nobody else.
    std::optional<Answer> refuseHead(const Request& head) const;

    /// What becomes of a whole request that refuseHead() let pass.
    Outcome decide(const Request& request) const;

    /// The other origin whose page may read the answer; empty for none.
    std::string getAllowedOrigin(const Request& head) const;

    /// The answer to what could not be read as a request; nothing when the client has gone.
    static std::optional<Answer> answerFailure(const boost::system::error_code& failure);

    /// The answer that carries a reply, or the absence of one.
    static Answer answerReply(std::string reply);

private:
    Admission::Origin judgeOrigin(const Request& head) const;
    Answer refuseOrigin(const Request& head) const;
    Outcome decideRpc(const Request& request, std::string_view name) const;
    Answer describe(const Request& request, std::string_view name) const;
    Answer show(const Request& request, std::string_view path) const;
    bool acceptsToken(const Request& request) const;

    const Admission& admission_;
    const Advice& advice_;
    const std::string& mainServer_;
    const Page& page_;
    const std::string localAddress_;
};

} // namespace Ostrel
