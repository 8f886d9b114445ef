#include "Ostrel/rpc/RPCMessage.h"

#include "Ostrel/rpc/Exception.h"
#include "Ostrel/rpc/RPCInterceptor.h"
#include "Ostrel/rpc/RPCObserver.h"
#include "Ostrel/runtime/Cancellation.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Families.h"
#include "Ostrel/runtime/WallClock.h"
#include "Ostrel/serialization/DecodeError.h"
#include "Ostrel/serialization/Json.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <new>
#include <optional>
#include <utility>
#include <vector>

namespace Ostrel {

namespace {

/// The reply when there is no memory for one; the id belongs in its place.
constexpr std::string_view lackOfMemory =
    R"({"jsonrpc":"2.0","id":,"error":{"code":-32603,"message":"Out of memory","data":{"returnCode":3,"name":"OutOfMemory"}}})";
constexpr std::string_view nullId = "null";
constexpr auto idPlace = std::string_view(R"({"jsonrpc":"2.0","id":)").size();

Counter longBatches(refusals, "batch");

/// What is no request reaches no handler, and is told here.
std::string refuse(std::string id, IRPC::ErrorCode code, std::string message) {
    ostrelDebugPrint(DebugLevel::Information, "RPCMessage", "RPCMessage", __LINE__, "refused: %s\n",
                     message.c_str());
    return IRPC::RPCErrorObject(std::move(id), code, std::move(message)).serialize();
}

} // namespace

/// What stands around a request's params: whom it is for and what it is called. It refers into the
/// message's text.
struct RPCMessage::Envelope {
    std::string_view text; ///< all of it
    std::string_view refusal = {}; ///< why it is no JSON-RPC 2.0 request; empty when it is one
    std::string_view id = {}; ///< as it stands in the text; empty when no reply is wanted
    std::string_view name = {}; ///< interface and method as they are written together
    std::string_view interfaceName = {};
    std::string_view methodName = {};
    std::optional<JsonValue> params = {}; ///< none when there are none; an empty array is none
};

class RPCMessage::Parts {
public:
    Parts(std::string text, RPCServer& server, std::shared_ptr<RPCPeer> peer, const Limits& limits)
        : text_(std::move(text)), server_(server), peer_(std::move(peer)), limits_(limits),
          isObserved_(peer_ != nullptr && !server.getObservers().empty()) {
        reply_.reserve(lackOfMemory.size() + nullId.size());
    }

    bool isDone() const noexcept { return isRead_ && next_ == count_; }

    bool isDelayed() const noexcept { return due_ != Clock::time_point() && Clock::now() < due_; }

    Clock::time_point getDue() const noexcept { return due_; }

    void delay(Clock::time_point due) noexcept { due_ = std::max(due_, due); }

    bool needsTurn() const noexcept {
        return isRead_ && !isRefused() && !server_.isReadOnly(envelope_.interfaceName);
    }

    bool isQuick() const noexcept {
        if (!isRead_)
            return text_.size() <= smallText;
        return (!envelope_.params || envelope_.params->getText().size() <= smallText) &&
               !server_.mayWait(envelope_.name) && !isLong();
    }

    bool isLong() const noexcept { return isRead_ && server_.isLong(envelope_.name); }

    bool isRefused() const noexcept {
        return isRead_ && (!envelope_.refusal.empty() || fate_.outcome == Fate::Failed ||
                           fate_.outcome == Fate::RequestLost);
    }

    void step() noexcept {
        try {
            if (!std::exchange(isRead_, true)) {
                read();
                return;
            }
            const Cancellation scope(clientGone_);
            hasBegun_ = true;
            auto reply = answerAsFated();
            finish(reply);
            add(std::move(reply));
            if (++next_ < count_)
                examine(batch_[next_]);
            else if (!batch_.empty() && !reply_.empty())
                reply_ += ']';
        } catch (const Cancelled&) {
            count(IRPC::Outcome::Lost, Clock::now() - came_);
            reply_.clear();
            next_ = count_;
        } catch (...) {
            giveUp();
        }
    }

    std::size_t getReplySize() const noexcept { return reply_.capacity(); }

    Reply takeReply() {
        if (isConnectionLost_)
            return {{}, Reply::ConnectionLost};
        const auto delivery = isReplyLost_ && reply_.empty() ? Reply::Lost : Reply::Sent;
        return {std::move(reply_), delivery};
    }

private:
    using Fate = RPCInterceptor::RequestFate;

    static inline const std::atomic<bool> nobodyGone = false;

    void read() {
        const auto failure = checkJson(text_);
        if (failure) {
            refuseAll(IRPC::ParseError, "the message is not JSON: " + failure.message());
            return;
        }
        const JsonValue document(text_);
        if (!document.isArray()) {
            count_ = 1;
            examine(document);
            return;
        }
        batch_ = document.getElements(limits_.batch + 1);
        if (batch_.empty()) {
            refuseAll(IRPC::InvalidRequest, "the batch is empty");
        } else if (batch_.size() > limits_.batch) {
            longBatches.increment();
            refuseAll(IRPC::InvalidRequest,
                      "the batch has more than " + std::to_string(limits_.batch) + " messages");
        } else {
            count_ = batch_.size();
            examine(batch_.front());
        }
    }

    /// Refuses what holds no request at all.
    void refuseAll(IRPC::ErrorCode code, std::string message) {
        tellCame();
        reply_ = refuse(std::string(nullId), code, std::move(message));
        outcome_ = IRPC::Outcome::Refused;
        finish(reply_);
    }

    void examine(const JsonValue& value) {
        // As long as it is not known whether a reply is wanted, one is.
        envelope_ = {.text = batch_.empty() ? std::string_view(text_) : value.getText(), .id = nullId};
        fate_ = {};
        due_ = {};
        toldAt_.reset();
        isCounted_ = false;
        metrics_ = nullptr;
        if (next_ > 0)
            came_ = Clock::now();
        readEnvelope(value);
        tellCame();
    }

    void readEnvelope(const JsonValue& value) {
        if (!value.isObject()) {
            envelope_.refusal = "the message is not a JSON object";
            return;
        }

        const auto members = value.getMembers();
        const auto* id = findMember(members, "id");
        const bool idFits = id == nullptr || id->isNumber() || id->isString() || id->isNull();
        envelope_.id = id == nullptr ? std::string_view() : idFits ? id->getText() : nullId;
        // Room for the reply that is given when there is none left.
        if (batch_.empty())
            reply_.reserve(lackOfMemory.size() + envelope_.id.size());

        std::string storage;
        const auto* version = findMember(members, "jsonrpc");
        const auto* method = findMember(members, "method");
        const auto* params = findMember(members, "params");
        if (params != nullptr && !(params->isArray() && params->getElements(1).empty()))
            envelope_.params = *params;
        if (!idFits)
            envelope_.refusal = "member \"id\" is not a number, a string or null";
        else if (version == nullptr || !version->isString() || version->readString(storage) != "2.0")
            envelope_.refusal = "member \"jsonrpc\" is not \"2.0\"";
        else if (method == nullptr || !method->isString())
            envelope_.refusal = "member \"method\" is not a string";
        else if (envelope_.params && !envelope_.params->isObject() && !envelope_.params->isArray())
            envelope_.refusal = "member \"params\" is not an object";
        if (!envelope_.refusal.empty()) {
            // What is no request cannot ask for silence either.
            if (envelope_.id.empty())
                envelope_.id = nullId;
            return;
        }

        envelope_.name = method->readString(unescapedName_);
        const auto colons = envelope_.name.find("::");
        if (colons == std::string_view::npos) {
            envelope_.methodName = envelope_.name;
        } else {
            envelope_.interfaceName = envelope_.name.substr(0, colons);
            envelope_.methodName = envelope_.name.substr(colons + 2);
        }
        if (auto* interceptor = server_.getInterceptor())
            judge(*interceptor);
    }

    void judge(RPCInterceptor& interceptor) {
        if (!server_.hasMethod(envelope_.interfaceName, envelope_.methodName))
            return;
        fate_ = interceptor.judgeRequest(envelope_.name);
        if (fate_.delay.count() > 0)
            due_ = Clock::now() + fate_.delay;
    }

    /// The reply as far as the client is to have it.
    std::string answerAsFated() {
        outcome_ = IRPC::Outcome::Lost;
        auto reply = fate_.outcome == Fate::RequestLost ? std::string() : answerInAnyCase();
        if (fate_.outcome < Fate::RequestLost)
            return reply;
        outcome_ = IRPC::Outcome::Lost;
        isReplyLost_ |= !envelope_.id.empty();
        isConnectionLost_ = fate_.outcome == Fate::ConnectionLost;
        if (isConnectionLost_)
            count_ = next_ + 1;
        return {};
    }

    /// In a batch the want of memory is the answer to one request; the others may fare better.
    std::string answerInAnyCase() {
        try {
            return answer();
        } catch (const std::bad_alloc&) {
            if (batch_.empty())
                throw;
            noteLackOfMemory();
            return envelope_.id.empty() ? std::string() : describeLackOfMemory({}, envelope_.id);
        }
    }

    std::string answer() {
        outcome_ = IRPC::Outcome::Refused;
        if (!envelope_.refusal.empty())
            return refuse(std::string(envelope_.id), IRPC::InvalidRequest, std::string(envelope_.refusal));
        const auto& params = envelope_.params;
        const auto budget = limits_.reply > reply_.size() ? limits_.reply - reply_.size() : 0;
        const IRPC::RPCSynchronousMethodObject method(
            std::string(envelope_.interfaceName), std::string(envelope_.methodName),
            std::string(envelope_.id), std::string(params ? params->getText() : "{}"), peer_, budget);
        auto reply = answer(method);
        outcome_ = method.getOutcome();
        metrics_ = method.getMetrics();
        return reply;
    }

    std::string answer(const IRPC::RPCSynchronousMethodObject& method) const {
        if (fate_.outcome == Fate::Failed)
            return fail(method, fate_.code);
        const bool isList = envelope_.params && envelope_.params->isArray();
        return isList ? refuseList(method) : server_.handleRPCSynchronousMethod(method);
    }

    /// As a handler does that catches the code.
    static std::string fail(const IRPC::RPCSynchronousMethodObject& method, ReturnCode code) {
        try {
            throw Exception(code);
        } catch (const Exception& exception) {
            return IRPC::RPCErrorObject(method, exception.what()).serialize();
        }
    }

    /// The request at hand is done, with the reply as it goes out; empty when none does.
    void finish(std::string_view reply) noexcept {
        const auto now = Clock::now();
        count(outcome_, now - came_);
        if (!isObserved_)
            return;
        if (!toldAt_)
            tellCame(); // there was no memory to read it
        tell(RPCObserver::Direction::Reply, reply,
             floor<std::chrono::microseconds>(std::max(now, *toldAt_) - *toldAt_));
    }

    /// Counts the request at hand, unless that is done.
    void count(IRPC::Outcome outcome, Clock::duration took) noexcept {
        if (std::exchange(isCounted_, true))
            return;
        if (metrics_ == nullptr) // it has not come to its handler
            metrics_ = &server_.getCallMetrics(envelope_.interfaceName, envelope_.methodName);
        metrics_->count(outcome, took);
    }

    void tell(RPCObserver::Direction direction, std::string_view text,
              std::chrono::microseconds took = {}) noexcept {
        const RPCObserver::Message message{.direction = direction,
                                           .time = cameAt_ + took,
                                           .peer = peer_.get(),
                                           .method = envelope_.name,
                                           .id = envelope_.id,
                                           .text = text,
                                           .took = took};
        for (auto* observer : server_.getObservers())
            observer->passed(message);
    }

    void tellCame() noexcept {
        if (!isObserved_)
            return;
        toldAt_ = Clock::now();
        cameAt_ = floor<std::chrono::microseconds>(wallClock());
        tell(RPCObserver::Direction::Request, envelope_.text);
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
        if (batch_.empty()) {
            reply_ = std::move(text);
            return;
        }
        reply_ += reply_.empty() ? '[' : ',';
        reply_ += text;
    }

    /// Ends the message with the reply that needs no memory. Of a single request it carries the id,
    /// so that its client knows which of its calls has failed. For a batch of which some has been
    /// carried out there is none: which, only the end of the connection leaves open.
    void giveUp() noexcept {
        const bool single = batch_.empty() && count_ == 1;
        isConnectionLost_ = !batch_.empty() && hasBegun_;
        const bool hasRoom = reply_.capacity() >= lackOfMemory.size() + envelope_.id.size();
        next_ = count_;
        reply_.clear();
        if (!single || !hasRoom)
            reply_ = describeLackOfMemory(std::move(reply_), nullId);
        else if (!envelope_.id.empty())
            reply_ = describeLackOfMemory(std::move(reply_), envelope_.id);
        noteLackOfMemory();
        finish(reply_);
    }

    void noteLackOfMemory() noexcept {
        IRPC::RPCErrorObject::count(IRPC::InternalError);
        outcome_ = IRPC::Outcome::Failed;
    }

    static std::string describeLackOfMemory(std::string room, std::string_view id) {
        room.append(lackOfMemory).insert(idPlace, id);
        return room;
    }

    const std::string text_;
    RPCServer& server_;
    const std::shared_ptr<RPCPeer> peer_;
    const std::atomic<bool>& clientGone_ = peer_ != nullptr ? peer_->gone : nobodyGone;
    const Limits limits_;
    const bool isObserved_;

    bool isRead_ = false;
    bool hasBegun_ = false; ///< to carry requests out
    std::vector<JsonValue> batch_; ///< empty when the message is one request
    std::size_t count_ = 0; ///< requests in the message
    std::size_t next_ = 0;
    Envelope envelope_{.text = text_, .id = nullId}; ///< of the next request
    Fate fate_; ///< of the next request
    Clock::time_point due_; ///< of the next request
    bool isReplyLost_ = false; ///< of any request
    bool isConnectionLost_ = false;
    Clock::time_point came_ = Clock::now(); ///< when that had come, or those before it were done
    std::optional<Clock::time_point> toldAt_; ///< when observers were told of it
    bool isCounted_ = false; ///< the metrics have it
    IRPC::Outcome outcome_ = IRPC::Outcome::Ok; ///< of the request that was done
    RPCCallMetrics* metrics_ = nullptr; ///< of the request that was done, where it is known
    std::chrono::sys_time<std::chrono::microseconds> cameAt_; ///< the same for people
    std::string unescapedName_; ///< of the method, where the text writes it with escapes
    std::string reply_;
};

RPCMessage::RPCMessage(std::string text, RPCServer& server, std::shared_ptr<RPCPeer> peer,
                       const Limits& limits)
    : parts_(std::make_unique<Parts>(std::move(text), server, std::move(peer), limits)) {}

RPCMessage::~RPCMessage() = default;

bool RPCMessage::isDone() const noexcept {
    return parts_->isDone();
}

bool RPCMessage::isDelayed() const noexcept {
    return parts_->isDelayed();
}

RPCMessage::Clock::time_point RPCMessage::getDue() const noexcept {
    return parts_->getDue();
}

void RPCMessage::delay(Clock::time_point due) noexcept {
    parts_->delay(due);
}

bool RPCMessage::needsTurn() const noexcept {
    return parts_->needsTurn();
}

bool RPCMessage::isQuick() const noexcept {
    return parts_->isQuick();
}

bool RPCMessage::isLong() const noexcept {
    return parts_->isLong();
}

bool RPCMessage::isRefused() const noexcept {
    return parts_->isRefused();
}

void RPCMessage::step() noexcept {
    parts_->step();
}

std::size_t RPCMessage::getReplySize() const noexcept {
    return parts_->getReplySize();
}

RPCMessage::Reply RPCMessage::takeReply() {
    return parts_->takeReply();
}

} // namespace Ostrel
