#pragma once

#include "Ostrel/rpc/IRPC.h"
#include "Ostrel/rpc/RPCServer.h"

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

namespace Ostrel {

/// One incoming JSON-RPC 2.0 message, a request or a batch, on its way to its reply.
///
/// The first step() reads the text, and each of the others carries out one request; between two
/// steps the message may move to another thread, which lets each request run where its interface
/// wants it. Between steps it keeps the text, and no more of what stands in it.
class RPCMessage {
public:
    /// What a message may cost.
    struct Limits {
        std::size_t reply = 64u << 20; ///< bytes of the reply, or of a batch's replies together
        std::size_t batch = 100; ///< requests in a batch
    };

    /// What the client is told in the end.
    struct Reply {
        enum Delivery {
            Sent, ///< the text, if there is any
            Lost, ///< nothing, though the client waits for a reply
            ConnectionLost, ///< nothing any more
        };

        std::string text; ///< empty when there is nothing to reply
        Delivery delivery = Sent;
    };

    using Clock = std::chrono::steady_clock;

    /// A longer text takes too long to be decoded where others wait for it.
    static constexpr std::size_t smallText = IRPC::RPCSynchronousMethodObject::shortParameters; ///< bytes

    RPCMessage(std::string text, RPCServer& server, std::shared_ptr<RPCPeer> peer, const Limits& limits);
    ~RPCMessage();

    RPCMessage(const RPCMessage&) = delete;
    RPCMessage& operator=(const RPCMessage&) = delete;

    /// Whether every request has been carried out.
    bool isDone() const noexcept;

    /// Whether the next step must not be done yet. Not to be asked when done.
    bool isDelayed() const noexcept;

    /// Delays the next step. Not to be called when done.
    void delay(Clock::time_point due) noexcept;

    /// Until when it isDelayed(). Asked only where it was.
    Clock::time_point getDue() const noexcept;

    /// Whether the next step must be done with the turn held. Not to be asked when done.
    bool needsTurn() const noexcept;

    /// Whether the next step is done in no time: what it decodes is short, and it waits for nobody.
    /// Not to be asked when done.
    bool isQuick() const noexcept;

    /// Whether the next step may go on for long, one such at a time. Not to be asked when done.
    bool isLong() const noexcept;

    /// Whether the next step reaches no handler: it is for what is no request, or for one that is not
    /// to get there. Not to be asked when done.
    bool isRefused() const noexcept;

    /// Does the next step. Never throws; whatever is wrong becomes the reply. When the client has
    /// gone, the message is done and has no reply.
    void step() noexcept;

    /// Bytes that the reply has so far.
    std::size_t getReplySize() const noexcept;

    /// To be taken once when done.
    Reply takeReply();

private:
    struct Envelope;
    class Parts;
    std::unique_ptr<Parts> parts_;
};

} // namespace Ostrel
