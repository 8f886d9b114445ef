#pragma once

#include "Ostrel/rpc/IRPC.h"
#include "Ostrel/rpc/RPCInterceptor.h"
#include "Ostrel/rpc/RPCObserver.h"
#include "Ostrel/rpc/RPCServer.h"
#include "Ostrel/serialization/Json.h"

#include <atomic>
#include <chrono>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

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

    RPCMessage(const RPCMessage&) = delete;
    RPCMessage& operator=(const RPCMessage&) = delete;

    /// Whether every request has been carried out.
    bool isDone() const noexcept { return isRead_ && next_ == count_; }

    /// Whether the next step must not be done yet. Not to be asked when done.
    bool isDelayed() const noexcept { return due_ != Clock::time_point() && Clock::now() < due_; }

    /// Delays the next step. Not to be called when done.
    void delay(Clock::time_point due) noexcept;

    /// Until when it isDelayed(). Asked only where it was.
    Clock::time_point getDue() const noexcept { return due_; }

    /// Whether the next step must be done with the turn held. Not to be asked when done.
    bool needsTurn() const noexcept;

    /// Whether the next step is done in no time: what it decodes is short, and it waits for nobody.
    /// Not to be asked when done.
    bool isQuick() const noexcept;

    /// Whether the next step may be tried with tryStep(). Not to be asked when done.
    bool isBrief() const noexcept;

    /// Whether the next step may go on for long, one such at a time. Not to be asked when done.
    bool isLong() const noexcept { return isRead_ && server_.isLong(envelope_.name); }

    /// Whether the next step reaches no handler: it is for what is no request, or for one that is not
    /// to get there. Not to be asked when done.
    bool isRefused() const noexcept;

    /// Does the next step. Never throws; whatever is wrong becomes the reply. When the client has
    /// gone, the message is done and has no reply.
    void step() noexcept;

    /// Does the next step, which isBrief(), unless it turns out to go on for long: then it is as if
    /// nothing had been done.
    /// @returns whether it was done
    bool tryStep() noexcept;

    /// Bytes that the reply has so far.
    std::size_t getReplySize() const noexcept { return reply_.capacity(); }

    /// To be taken once when done.
    Reply takeReply();

private:
    using Fate = RPCInterceptor::RequestFate;

    /// What stands around a request's params: whom it is for and what it is called. It refers into
    /// the message's text.
    struct Envelope {
        std::string_view text; ///< all of it
        std::string_view refusal = {}; ///< why it is no JSON-RPC 2.0 request; empty when it is one
        std::string_view id = {}; ///< as it stands in the text; empty when no reply is wanted
        std::string_view name = {}; ///< interface and method as they are written together
        std::string_view interfaceName = {};
        std::string_view methodName = {};
        const RPCServer::Entry* entry = nullptr; ///< null when there is no such method
        std::optional<JsonValue> params = {}; ///< none when there are none; an empty array is none
    };

    void read();
    void refuseAll(IRPC::ErrorCode code, std::string message);
    void examine(const JsonValue& value);
    void readEnvelope(const JsonValue& value);
    void judge(RPCInterceptor& interceptor);
    bool carryOut(const std::atomic<bool>& unwanted) noexcept;
    std::string answerAsFated();
    std::string answerInAnyCase();
    std::string answer();
    std::string answer(const IRPC::RPCSynchronousMethodObject& method) const;
    void finish(std::string_view reply) noexcept;
    void count(IRPC::Outcome outcome, Clock::duration took) noexcept;
    void tell(RPCObserver::Direction direction, std::string_view text,
              std::chrono::microseconds took = {}) noexcept;
    void tellCame() noexcept;
    void add(std::string text);
    void giveUp() noexcept;
    void noteLackOfMemory() noexcept;

    const std::string text_;
    RPCServer& server_;
    const std::shared_ptr<RPCPeer> peer_;
    const Limits limits_;
    const bool isObserved_;

    bool isRead_ = false;
    bool hasBegun_ = false; ///< to carry requests out
    std::vector<JsonValue> batch_; ///< empty when the message is one request
    std::size_t count_ = 0; ///< requests in the message
    std::size_t next_ = 0;
    Envelope envelope_; ///< of the next request
    Fate fate_; ///< of the next request
    Clock::time_point due_; ///< of the next request
    bool isReplyLost_ = false; ///< of any request
    bool isConnectionLost_ = false;
    Clock::time_point came_ = Clock::now(); ///< when that had come, or those before it were done
    std::optional<Clock::time_point> toldAt_; ///< when observers were told of it
    bool isCounted_ = false; ///< the metrics have it
    IRPC::Outcome outcome_ = IRPC::Outcome::Ok; ///< of the request that was done
    std::chrono::sys_time<std::chrono::microseconds> cameAt_; ///< the same for people
    std::string unescapedName_; ///< of the method, where the text writes it with escapes
    std::string reply_;
};

} // namespace Ostrel
