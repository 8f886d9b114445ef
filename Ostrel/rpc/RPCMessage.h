#pragma once

#include "Ostrel/rpc/IRPC.h"
#include "Ostrel/rpc/RPCServer.h"

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace Ostrel {

/// One incoming JSON-RPC 2.0 message, a request or a batch, on its way to its reply.
///
/// Its requests are carried out one after another by step(); between two steps the message
/// may move to another thread, which lets each request run where its interface wants it.
class RPCMessage {
public:
    /// What a message may cost.
    struct Limits {
        std::size_t reply = 64u << 20; ///< bytes of the reply, or of a batch's replies together
        std::size_t batch = 100; ///< requests in a batch
    };

    /// Parses the text, which may go away. Whatever is wrong with it becomes the reply.
    RPCMessage(std::string_view text, RPCServer& server, std::shared_ptr<RPCPeer> peer, const Limits& limits);
    ~RPCMessage();

    RPCMessage(const RPCMessage&) = delete;
    RPCMessage& operator=(const RPCMessage&) = delete;

    /// Whether every request has been carried out.
    bool isDone() const noexcept;

    /// Whether the next request must be carried out with the turn held. Not to be asked when done.
    bool needsTurn() const noexcept;

    /// Carries out the next request. Never throws.
    void step() noexcept;

    /// The reply's text, to be taken once when done; empty when there is nothing to reply.
    std::string takeReply();

private:
    struct Envelope;
    class Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace Ostrel
