#include "Ostrel/rpc/RPCMessage.h"

#include "Ostrel/rpc/Exception.h"
#include "Ostrel/runtime/Cancellation.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Families.h"
#include "Ostrel/runtime/WallClock.h"
#include "Ostrel/serialization/DecodeError.h"

#include <algorithm>
#include <new>
#include <utility>

namespace Ostrel {

namespace {

/// The reply when there is no memory for one; the id belongs in its place.
constexpr std::string_view lackOfMemory =
    R"({"jsonrpc":"2.0","id":,"error":{"code":-32603,"message":"Out of memory","data":{"returnCode":3,"name":"OutOfMemory"}}})";
constexpr std::string_view nullId = "null";
constexpr auto idPlace = std::string_view(R"({"jsonrpc":"2.0","id":)").size();

const std::atomic<bool> nobodyGone = false;
const std::atomic<bool> atOnce = true;

Counter longBatches(refusals, "batch");

/// What is no request reaches no handler, and is told here.
std::string refuse(std::string_view id, IRPC::ErrorCode code, std::string message) {
    ostrelDebugPrint(DebugLevel::Information, "RPCMessage", "RPCMessage", __LINE__, "refused: %s\n",
                     message.c_str());
    return IRPC::RPCErrorObject(std::string(id), code, std::move(message)).serialize();
}

/// As a handler does that catches the code.
std::string fail(const IRPC::RPCSynchronousMethodObject& method, ReturnCode code) {
    try {
        throw Exception(code);
    } catch (const Exception& exception) {
        return IRPC::RPCErrorObject(method, exception.what()).serialize();
    }
}

std::string refuseList(const IRPC::RPCSynchronousMethodObject& method) {
    try {
        throw DecodeError("params is not a JSON object", "params");
    } catch (const DecodeError& failure) {
        return IRPC::RPCErrorObject(method, failure.what()).serialize();
    }
}

std::string describeLackOfMemory(std::string room, std::string_view id) {
    room.append(lackOfMemory).insert(idPlace, id);
    return room;
}

} // namespace

RPCMessage::RPCMessage(std::string text, RPCServer& server, std::shared_ptr<RPCPeer> peer,
                       const Limits& limits)
    : text_(std::move(text)), server_(server), peer_(std::move(peer)), limits_(limits),
      isObserved_(peer_ != nullptr && !server.getObservers().empty()), envelope_{.text = text_,
                                                                                 .id = nullId} {
    reply_.reserve(lackOfMemory.size() + nullId.size());
}

// What the next step is like

void RPCMessage::delay(Clock::time_point due) noexcept {
    due_ = std::max(due_, due);
}

bool RPCMessage::needsTurn() const noexcept {
    return isRead_ && !isRefused() && !server_.isReadOnly(envelope_.interfaceName);
}

bool RPCMessage::isQuick() const noexcept {
    if (!isRead_)
        return text_.size() <= smallText;
    return (!envelope_.params || envelope_.params->getText().size() <= smallText) &&
           !server_.mayWait(envelope_.name) && !isLong();
}

bool RPCMessage::isBrief() const noexcept {
    return isRead_ && server_.isBrief(envelope_.interfaceName) && isQuick();
}

bool RPCMessage::isRefused() const noexcept {
    return isRead_ && (!envelope_.refusal.empty() || fate_.outcome == Fate::Failed ||
                       fate_.outcome == Fate::RequestLost);
}

// Steps

void RPCMessage::step() noexcept {
    if (peer_ != nullptr ? carryOut(peer_->gone) : carryOut(nobodyGone))
        return;
    count(IRPC::Outcome::Lost, Clock::now() - came_);
    reply_.clear();
    next_ = count_;
}

bool RPCMessage::tryStep() noexcept {
    return carryOut(atOnce);
}

/// Does the next step; false when its handler has noticed that it is not wanted. The message is as
/// before then.
bool RPCMessage::carryOut(const std::atomic<bool>& unwanted) noexcept {
    const bool hadBegun = hasBegun_;
    try {
        if (!std::exchange(isRead_, true)) {
            read();
            return true;
        }
        const Cancellation scope(unwanted);
        hasBegun_ = true;
        auto reply = answerAsFated();
        finish(reply);
        add(std::move(reply));
        if (++next_ < count_)
            examine(batch_[next_]);
        else if (!batch_.empty() && !reply_.empty())
            reply_ += ']';
    } catch (const Cancelled&) {
        hasBegun_ = hadBegun;
        return false;
    } catch (...) {
        giveUp();
    }
    return true;
}

RPCMessage::Reply RPCMessage::takeReply() {
    if (isConnectionLost_)
        return {{}, Reply::ConnectionLost};
    const auto delivery = isReplyLost_ && reply_.empty() ? Reply::Lost : Reply::Sent;
    return {std::move(reply_), delivery};
}

// Reading

void RPCMessage::read() {
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
void RPCMessage::refuseAll(IRPC::ErrorCode code, std::string message) {
    tellCame();
    reply_ = refuse(nullId, code, std::move(message));
    outcome_ = IRPC::Outcome::Refused;
    finish(reply_);
}

void RPCMessage::examine(const JsonValue& value) {
    // As long as it is not known whether a reply is wanted, one is.
    envelope_ = {.text = batch_.empty() ? std::string_view(text_) : value.getText(), .id = nullId};
    fate_ = {};
    due_ = {};
    toldAt_.reset();
    isCounted_ = false;
    if (next_ > 0)
        came_ = Clock::now();
    readEnvelope(value);
    tellCame();
}

void RPCMessage::readEnvelope(const JsonValue& value) {
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
    envelope_.entry = server_.findMethod(envelope_.interfaceName, envelope_.methodName);
    auto* const interceptor = server_.getInterceptor();
    if (interceptor != nullptr && envelope_.entry != nullptr)
        judge(*interceptor);
}

void RPCMessage::judge(RPCInterceptor& interceptor) {
    fate_ = interceptor.judgeRequest(envelope_.name);
    if (fate_.delay.count() > 0)
        due_ = Clock::now() + fate_.delay;
}

// Carrying out

/// The reply as far as the client is to have it.
std::string RPCMessage::answerAsFated() {
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
std::string RPCMessage::answerInAnyCase() {
    try {
        return answer();
    } catch (const std::bad_alloc&) {
        if (batch_.empty())
            throw;
        noteLackOfMemory();
        return envelope_.id.empty() ? std::string() : describeLackOfMemory({}, envelope_.id);
    }
}

std::string RPCMessage::answer() {
    outcome_ = IRPC::Outcome::Refused;
    if (!envelope_.refusal.empty())
        return refuse(envelope_.id, IRPC::InvalidRequest, std::string(envelope_.refusal));
    const auto& params = envelope_.params;
    const auto budget = limits_.reply > reply_.size() ? limits_.reply - reply_.size() : 0;
    const IRPC::RPCSynchronousMethodObject method(envelope_.interfaceName, envelope_.methodName, envelope_.id,
                                                  CheckedObject{params ? params->getText() : "{}"}, peer_,
                                                  budget);
    auto reply = answer(method);
    outcome_ = method.getOutcome();
    return reply;
}

std::string RPCMessage::answer(const IRPC::RPCSynchronousMethodObject& method) const {
    if (fate_.outcome == Fate::Failed)
        return fail(method, fate_.code);
    const bool isList = envelope_.params && envelope_.params->isArray();
    return isList ? refuseList(method) : server_.handleRPCSynchronousMethod(method);
}

// Telling

/// The request at hand is done, with the reply as it goes out; empty when none does.
void RPCMessage::finish(std::string_view reply) noexcept {
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
void RPCMessage::count(IRPC::Outcome outcome, Clock::duration took) noexcept {
    if (std::exchange(isCounted_, true))
        return;
    auto& calls = envelope_.entry != nullptr
                      ? envelope_.entry->calls
                      : server_.getCallMetrics(envelope_.interfaceName, envelope_.methodName);
    calls.count(outcome, took);
}

void RPCMessage::tell(RPCObserver::Direction direction, std::string_view text,
                      std::chrono::microseconds took) noexcept {
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

void RPCMessage::tellCame() noexcept {
    if (!isObserved_)
        return;
    toldAt_ = Clock::now();
    cameAt_ = floor<std::chrono::microseconds>(wallClock());
    tell(RPCObserver::Direction::Request, envelope_.text);
}

void RPCMessage::add(std::string text) {
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
void RPCMessage::giveUp() noexcept {
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

void RPCMessage::noteLackOfMemory() noexcept {
    IRPC::RPCErrorObject::count(IRPC::InternalError);
    outcome_ = IRPC::Outcome::Failed;
}

} // namespace Ostrel
