#include "Ostrel/rpc/RPCMessage.h"

#include "Ostrel/rpc/RPCObserver.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/serialization/DecodeError.h"
#include "Ostrel/serialization/Json.h"

#include <boost/json.hpp>

#include <chrono>
#include <optional>
#include <utility>

namespace Ostrel {

namespace json = boost::json;

namespace {

constexpr const char* outOfMemory =
    R"({"jsonrpc":"2.0","id":null,"error":{"code":-32603,"message":"Out of memory","data":{"returnCode":3,"name":"OutOfMemory"}}})";

std::string_view view(const json::string& text) {
    return {text.data(), text.size()};
}

bool isEmptyArray(const json::value* value) {
    const auto* array = value != nullptr ? value->if_array() : nullptr;
    return array != nullptr && array->empty();
}

/// What is no request reaches no handler, and is told here.
std::string refuse(std::string id, IRPC::ErrorCode code, std::string message) {
    ostrelDebugPrint(DebugLevel::Information, "RPCMessage", "RPCMessage", __LINE__, "refused: %s\n",
                     message.c_str());
    return IRPC::RPCErrorObject(std::move(id), code, std::move(message)).serialize();
}

} // namespace

/// What stands around a request's params: whom it is for and what it is called.
struct RPCMessage::Envelope {
    std::string refusal; ///< why it is no JSON-RPC 2.0 request; empty when it is one
    std::string id; ///< as JSON text; empty when no reply is wanted
    std::string_view interfaceName;
    std::string_view methodName;
    const json::value* params = nullptr; ///< null when there are none; an empty array is none
};

class RPCMessage::Parts {
public:
    Parts(std::string_view text, RPCServer& server, std::shared_ptr<RPCPeer> peer, const Limits& limits)
        : server_(server), peer_(std::move(peer)), limits_(limits) {
        // Room for the reply that is given when there is none left.
        reply_.reserve(std::string_view(outOfMemory).size());
        try {
            read(text);
        } catch (...) {
            giveUp();
        }
    }

    bool isDone() const noexcept { return next_ == count_; }

    bool needsTurn() const noexcept {
        return envelope_.refusal.empty() && !server_.isReadOnly(envelope_.interfaceName);
    }

    void step() noexcept {
        try {
            add(peer_ != nullptr && peer_->observer != nullptr ? answerObserved() : answer());
            if (++next_ < count_)
                envelope_ = examine(batch_->at(next_));
            else if (batch_ != nullptr && !reply_.empty())
                reply_ += ']';
        } catch (...) {
            giveUp();
        }
    }

    std::string takeReply() { return std::move(reply_); }

private:
    void read(std::string_view text) {
        boost::system::error_code failure;
        const auto& document = document_.emplace(parseJson(text, &memory_, failure));
        if (failure) {
            reply_ = refuse("null", IRPC::ParseError, "the message is not JSON: " + failure.message());
        } else if (const auto* batch = document.if_array(); batch == nullptr) {
            count_ = 1;
            envelope_ = examine(document);
        } else if (batch->empty() || batch->size() > limits_.batch) {
            reply_ = refuse("null", IRPC::InvalidRequest,
                            batch->empty()
                                ? "the batch is empty"
                                : "the batch has more than " + std::to_string(limits_.batch) + " messages");
        } else {
            batch_ = batch;
            count_ = batch->size();
            envelope_ = examine(batch->front());
        }
    }

    static Envelope examine(const json::value& value) {
        Envelope envelope;
        const auto* object = value.if_object();
        if (object == nullptr) {
            envelope.id = "null";
            envelope.refusal = "the message is not a JSON object";
            return envelope;
        }

        const auto* id = object->if_contains("id");
        const bool idFits = id == nullptr || id->is_number() || id->is_string() || id->is_null();
        if (id != nullptr)
            envelope.id = idFits ? json::serialize(*id) : "null";

        const auto* version = object->if_contains("jsonrpc");
        const auto* method = object->if_contains("method");
        envelope.params = object->if_contains("params");
        if (isEmptyArray(envelope.params))
            envelope.params = nullptr;
        if (!idFits)
            envelope.refusal = "member \"id\" is not a number, a string or null";
        else if (version == nullptr || !version->is_string() || view(version->get_string()) != "2.0")
            envelope.refusal = "member \"jsonrpc\" is not \"2.0\"";
        else if (method == nullptr || !method->is_string())
            envelope.refusal = "member \"method\" is not a string";
        else if (envelope.params != nullptr && !envelope.params->is_structured())
            envelope.refusal = "member \"params\" is not an object";
        if (!envelope.refusal.empty()) {
            // What is no request cannot ask for silence either.
            if (envelope.id.empty())
                envelope.id = "null";
            return envelope;
        }

        const auto name = view(method->get_string());
        const auto colons = name.find("::");
        if (colons == std::string_view::npos) {
            envelope.methodName = name;
        } else {
            envelope.interfaceName = name.substr(0, colons);
            envelope.methodName = name.substr(colons + 2);
        }
        return envelope;
    }

    std::string answer() {
        if (!envelope_.refusal.empty())
            return refuse(envelope_.id, IRPC::InvalidRequest, envelope_.refusal);
        const auto* params = envelope_.params;
        const auto budget = limits_.reply > reply_.size() ? limits_.reply - reply_.size() : 0;
        const IRPC::RPCSynchronousMethodObject method(
            std::string(envelope_.interfaceName), std::string(envelope_.methodName), std::move(envelope_.id),
            params == nullptr ? "{}" : json::serialize(*params), peer_, budget);
        return params != nullptr && params->is_array() ? refuseList(method)
                                                       : server_.handleRPCSynchronousMethod(method);
    }

    std::string answerObserved() {
        using Clock = std::chrono::steady_clock;
        const auto id = envelope_.id;
        const auto begin = Clock::now();
        auto reply = answer();
        peer_->observer->requestDone(
            {envelope_.interfaceName, envelope_.methodName, id, reply, Clock::now() - begin});
        return reply;
    }

    static std::string refuseList(const IRPC::RPCSynchronousMethodObject& method) {
        try {
            throw DecodeError("params is not a JSON object", "params");
        } catch (const DecodeError& failure) {
            return IRPC::RPCErrorObject(method, failure.what()).serialize();
        }
    }

    void add(std::string text) {
        if (text.empty())
            return;
        if (batch_ == nullptr) {
            reply_ = std::move(text);
            return;
        }
        reply_ += reply_.empty() ? '[' : ',';
        reply_ += text;
    }

    /// Ends the message with the reply that needs no memory.
    void giveUp() noexcept {
        reply_.assign(outOfMemory);
        next_ = count_;
    }

    RPCServer& server_;
    const std::shared_ptr<RPCPeer> peer_;
    const Limits limits_;

    unsigned char buffer_[2048];
    json::monotonic_resource memory_{buffer_, sizeof buffer_};
    std::optional<json::value> document_; ///< lives in memory_, as everything that refers to it
    const json::array* batch_ = nullptr; ///< null when the message is one request
    std::size_t count_ = 0; ///< requests in the message
    std::size_t next_ = 0;
    Envelope envelope_; ///< of the next request
    std::string reply_;
};

RPCMessage::RPCMessage(std::string_view text, RPCServer& server, std::shared_ptr<RPCPeer> peer,
                       const Limits& limits)
    : parts_(std::make_unique<Parts>(text, server, std::move(peer), limits)) {}

RPCMessage::~RPCMessage() = default;

bool RPCMessage::isDone() const noexcept {
    return parts_->isDone();
}

bool RPCMessage::needsTurn() const noexcept {
    return parts_->needsTurn();
}

void RPCMessage::step() noexcept {
    parts_->step();
}

std::string RPCMessage::takeReply() {
    return parts_->takeReply();
}

} // namespace Ostrel
