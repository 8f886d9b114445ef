// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"
#include "Ostrel/rpc/ReturnCode.h"
#include "Ostrel/serialization/Deserializer.h"
#include "Ostrel/serialization/SerialObject.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Ostrel {

/// Stands for the connection that a call came by; it lives as long as the connection does.
/// Keep a weak pointer to learn that the connection has closed and its last call has ended.
struct RPCPeer {
    RPCPeer() = default;
    RPCPeer(std::uint64_t number, std::string name) : connection(number), client(std::move(name)) {}

    const std::uint64_t connection = 0; ///< numbers the connections of a listener, from 1
    const std::string client; ///< its address and port, or "unix"
    /// How often a client was sent a notification by its calls, since the platform last took it.
    std::atomic<unsigned> notifications = 0;
    std::atomic<bool> gone = false; ///< the connection has closed: nobody waits for a reply any more
};

/// The objects that an RPC conversation is made of. Each of the last four turns itself into
/// the text that travels.
class OSTREL_API IRPC {
public:
    /// What comes of a call.
    enum class Outcome : unsigned char {
        Ok,
        Refused, ///< it asked for what cannot be done
        Failed, ///< by the service's fault
        Lost, ///< its client was told nothing, by a rule of the simulation or since it had left
    };
    static constexpr std::size_t outcomes = 4;

    /// A call on its way to its handler.
    class OSTREL_API RPCSynchronousMethodObject {
    public:
        /// Bytes of params that are decoded in no time. Longer ones are not to be decoded where
        /// others wait: with the turn in hand, see Turn::Pause.
        static constexpr std::size_t shortParameters = 4096;

        /// Refers to the texts that it is given, which must outlive it.
        /// @param id            the request's id as JSON text; empty when nobody wants a reply
        /// @param parameters    the params as the text of a JSON object
        /// @param replyLimit    bytes; a longer reply is refused while it is built
        RPCSynchronousMethodObject(std::string_view interfaceName, std::string_view methodName,
                                   std::string_view id, std::string_view parameters,
                                   std::shared_ptr<RPCPeer> peer = nullptr,
                                   std::size_t replyLimit = static_cast<std::size_t>(-1));
        /// The same where the params need no further look at what is right.
        RPCSynchronousMethodObject(std::string_view interfaceName, std::string_view methodName,
                                   std::string_view id, const CheckedObject& parameters,
                                   std::shared_ptr<RPCPeer> peer, std::size_t replyLimit);

        std::string_view getInterfaceName() const { return interfaceName_; }
        std::string_view getMethodName() const { return methodName_; }
        std::string_view getId() const { return id_; }
        std::string_view getParameters() const { return parameters_; }
        std::size_t getReplyLimit() const { return replyLimit_; }

        /// Reads the params.
        /// @throws DecodeError  they are no JSON object
        Deserializer decodeParameters() const;

        /// Whether the client waits for a reply.
        bool wantsReply() const { return !id_.empty(); }

        /// The connection that the call came by; null when it came by none.
        const std::shared_ptr<RPCPeer>& getPeer() const { return peer_; }

        /// What has come of it so far: who makes an error of it says so here.
        Outcome getOutcome() const { return outcome_; }
        void setOutcome(Outcome outcome) const { outcome_ = outcome; }

        /// Bytes that the value of a reply may have for which no memory is wanted any more once the
        /// call has been made: what a handler has done is told, then, in any case.
        static constexpr std::size_t shortResult = 256;

        /// Hands out the room for the reply, once.
        std::string takeReplyRoom() const noexcept { return std::exchange(replyRoom_, {}); }

    private:
        std::string_view interfaceName_;
        std::string_view methodName_;
        std::string_view id_;
        std::string_view parameters_;
        bool isChecked_ = false; ///< the params are right
        std::shared_ptr<RPCPeer> peer_;
        std::size_t replyLimit_;
        mutable Outcome outcome_ = Outcome::Ok;
        mutable std::string replyRoom_; ///< empty, and wide enough for a short reply
    };

    /// The reply of a call that gives a value. Refers to both arguments, which must outlive it.
    class OSTREL_API RPCResultObject {
    public:
        RPCResultObject(const RPCSynchronousMethodObject& method, const SerialObject& value)
            : method_(method), value_(value) {}

        /// @returns the reply's text; empty when the client wants none
        /// @throws TextTooLarge  the reply would be over the method's limit
        /// @throws std::bad_alloc  it has more than shortResult bytes, or is not the call's first
        std::string serialize() const;

    private:
        const RPCSynchronousMethodObject& method_;
        const SerialObject& value_;
    };

    /// The reply of a call that gives no value. Refers to its argument, which must outlive it.
    class OSTREL_API RPCReturnObject {
    public:
        explicit RPCReturnObject(const RPCSynchronousMethodObject& method) : method_(method) {}

        /// @returns the reply's text; empty when the client wants none
        std::string serialize() const;

    private:
        const RPCSynchronousMethodObject& method_;
    };

    /// JSON-RPC error codes that the platform gives.
    enum ErrorCode {
        ParseError = -32700,
        InvalidRequest = -32600,
        MethodNotFound = -32601,
        InvalidParams = -32602,
        InternalError = -32603,
        HandlerError = -32000,
        ReplyTooLarge = -32001,
    };

    /// The reply of a call that failed.
    class OSTREL_API RPCErrorObject {
    public:
        /// Made by a handler in its catch clause, once for each call that fails.
        ///
        /// The exception being handled decides what the client is told beside the message. A
        /// DecodeError is InvalidParams and names its member; TextTooLarge is ReplyTooLarge; all
        /// else is HandlerError, with the result code of an Exception, and the member of a
        /// ParameterError. Want of memory counts as an Exception with OutOfMemory, whatever the
        /// message.
        ///
        /// Writes the log's line for the call: information when it was refused, which the first
        /// two are and an Exception with InvalidParameter, InvalidState or NotSupported; else an
        /// error.
        RPCErrorObject(const RPCSynchronousMethodObject& method, const std::string& message);

        /// Made by the platform for what is not a call or never reaches a handler.
        /// @param id  as JSON text
        RPCErrorObject(std::string id, ErrorCode code, std::string message);

        /// Made by the platform in a catch clause, when an exception has left the handler: as
        /// from a handler with the exception's text, but InternalError instead of HandlerError.
        static RPCErrorObject forEscaped(const RPCSynchronousMethodObject& method);

        /// Counts an error for the metrics. To be called where its reply is made without an object.
        static void count(ErrorCode code) noexcept;

        /// @returns the reply's text; empty when the client wants none
        std::string serialize() const;

    private:
        RPCErrorObject(const RPCSynchronousMethodObject& method, ErrorCode code, const std::string& message);

        /// Takes over what the exception being handled says.
        void classify();

        /// Whether the call asked for what cannot be done; else the service failed.
        bool isRefusal() const;

        std::string id_;
        ErrorCode code_;
        std::string message_;
        ReturnCode returnCode_ = ReturnCode::Success; ///< Success: none is told
        std::optional<std::string> member_; ///< that was refused
    };

    /// A message that no one has asked for and no one answers.
    class OSTREL_API RPCNotificationObject {
    public:
        /// @param name     interface and operation, for example "ITVConfig::onScanStart"
        /// @param payload  the members, as the text of a JSON object
        RPCNotificationObject(const std::string& name, const std::string& payload)
            : name_(name), payload_(payload) {}

        std::string serialize() const;

    private:
        const std::string& name_;
        const std::string& payload_;
    };
};

} // namespace Ostrel
