#include "Ostrel/rpc/IRPC.h"

#include "Ostrel/rpc/ParameterError.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Metric.h"
#include "Ostrel/serialization/DecodeError.h"
#include "Ostrel/text/Printable.h"

#include <exception>
#include <new>
#include <utility>

namespace Ostrel {

namespace {

constexpr const char* moduleName = "IRPC";
constexpr std::string_view replyFrame = R"({"jsonrpc":"2.0","id":,"result":})";

constexpr Metric::Family errors{"ostrel_errors_total", "Errors that clients were told, by JSON-RPC code.",
                                "code"};
Counter parseErrors(errors, "-32700");
Counter invalidRequests(errors, "-32600");
Counter unknownMethods(errors, "-32601");
Counter invalidParams(errors, "-32602");
Counter internalErrors(errors, "-32603");
Counter handlerErrors(errors, "-32000");
Counter largeReplies(errors, "-32001");

Counter& counterOf(IRPC::ErrorCode code) {
    switch (code) {
    case IRPC::ParseError:
        return parseErrors;
    case IRPC::InvalidRequest:
        return invalidRequests;
    case IRPC::MethodNotFound:
        return unknownMethods;
    case IRPC::InvalidParams:
        return invalidParams;
    case IRPC::InternalError:
        return internalErrors;
    case IRPC::HandlerError:
        return handlerErrors;
    case IRPC::ReplyTooLarge:
        break;
    }
    return largeReplies;
}

/// The code as clients know it: what is none of the first six is a generic failure.
ReturnCode known(ReturnCode code) {
    return code < ReturnCode::Success || code > ReturnCode::GenericFailure ? ReturnCode::GenericFailure
                                                                           : code;
}

/// What a call is called in the log: as long as it is not known to exist, that is the client's
/// own text.
std::string nameOf(const IRPC::RPCSynchronousMethodObject& method) {
    const std::string methodName(method.getMethodName());
    const std::string interfaceName(method.getInterfaceName());
    return excerpt(interfaceName.empty() ? methodName : interfaceName + "::" + methodName);
}

/// Starts a reply: everything before the member that tells the outcome.
void beginReply(Serializer& out, std::string_view id) {
    out.beginObject("");
    out.writeJson("jsonrpc", "\"2.0\"");
    out.writeJson("id", id);
}

} // namespace

IRPC::RPCSynchronousMethodObject::RPCSynchronousMethodObject(std::string_view interfaceName,
                                                             std::string_view methodName, std::string_view id,
                                                             std::string_view parameters,
                                                             std::shared_ptr<RPCPeer> peer,
                                                             std::size_t replyLimit)
    : interfaceName_(interfaceName), methodName_(methodName), id_(id), parameters_(parameters),
      peer_(std::move(peer)), replyLimit_(replyLimit) {
    if (wantsReply())
        replyRoom_.reserve(replyFrame.size() + id_.size() + shortResult);
}

IRPC::RPCSynchronousMethodObject::RPCSynchronousMethodObject(std::string_view interfaceName,
                                                             std::string_view methodName, std::string_view id,
                                                             const CheckedObject& parameters,
                                                             std::shared_ptr<RPCPeer> peer,
                                                             std::size_t replyLimit)
    : RPCSynchronousMethodObject(interfaceName, methodName, id, parameters.text, std::move(peer),
                                 replyLimit) {
    isChecked_ = true;
}

Deserializer IRPC::RPCSynchronousMethodObject::decodeParameters() const {
    if (isChecked_)
        return Deserializer(CheckedObject{parameters_});
    return Deserializer(std::string(parameters_), "params");
}

std::string IRPC::RPCResultObject::serialize() const {
    if (!method_.wantsReply())
        return {};
    Serializer out(method_.getReplyLimit(), method_.takeReplyRoom());
    beginReply(out, method_.getId());
    value_.serialize("result", out);
    out.endObject("");
    return out.generate();
}

std::string IRPC::RPCReturnObject::serialize() const {
    if (!method_.wantsReply())
        return {};
    Serializer out(method_.getReplyLimit(), method_.takeReplyRoom());
    beginReply(out, method_.getId());
    out.writeJson("result", "null");
    out.endObject("");
    return out.generate();
}

IRPC::RPCErrorObject::RPCErrorObject(const RPCSynchronousMethodObject& method, const std::string& message)
    : RPCErrorObject(method, HandlerError, message) {}

IRPC::RPCErrorObject::RPCErrorObject(std::string id, ErrorCode code, std::string message)
    : id_(std::move(id)), code_(code), message_(std::move(message)) {
    count(code_);
}

IRPC::RPCErrorObject::RPCErrorObject(const RPCSynchronousMethodObject& method, ErrorCode code,
                                     const std::string& message)
    : id_(method.getId()), code_(code), message_(message) {
    classify();
    count(code_);
    method.setOutcome(isRefusal() ? Outcome::Refused : Outcome::Failed);
    // A decoder's message names its member itself.
    const auto member = code_ != InvalidParams && member_ ? " (" + *member_ + ')' : std::string();
    ostrelDebugPrint(isRefusal() ? DebugLevel::Information : DebugLevel::Error, moduleName, moduleName,
                     __LINE__, "%s %s: %s%s\n", nameOf(method).c_str(), isRefusal() ? "refused" : "failed",
                     message_.c_str(), member.c_str());
}

IRPC::RPCErrorObject IRPC::RPCErrorObject::forEscaped(const RPCSynchronousMethodObject& method) {
    try {
        throw;
    } catch (const Exception& exception) {
        return {method, InternalError, exception.what()};
    } catch (const std::exception& exception) {
        return {method, InternalError, exception.what()};
    } catch (...) {
        return {method, InternalError, "unknown"};
    }
}

void IRPC::RPCErrorObject::classify() {
    if (!std::current_exception())
        return;
    try {
        throw;
    } catch (const DecodeError& error) {
        code_ = InvalidParams;
        member_ = error.getMember();
    } catch (const TextTooLarge&) {
        code_ = ReplyTooLarge;
    } catch (const std::bad_alloc&) {
        returnCode_ = ReturnCode::OutOfMemory;
        message_ = getMessage(returnCode_);
    } catch (const ParameterError& error) {
        returnCode_ = error.getCode();
        member_ = error.getMember();
    } catch (const Exception& exception) {
        returnCode_ = known(exception.getCode());
    } catch (...) {
    }
}

void IRPC::RPCErrorObject::count(ErrorCode code) noexcept {
    counterOf(code).increment();
}

bool IRPC::RPCErrorObject::isRefusal() const {
    return code_ == InvalidParams || code_ == ReplyTooLarge || returnCode_ == ReturnCode::InvalidParameter ||
           returnCode_ == ReturnCode::InvalidState || returnCode_ == ReturnCode::NotSupported;
}

std::string IRPC::RPCErrorObject::serialize() const {
    if (id_.empty())
        return {};
    Serializer out;
    beginReply(out, id_);
    out.beginObject("error");
    out.write("code", std::int64_t(code_));
    out.write("message", std::string_view(message_));
    if (returnCode_ != ReturnCode::Success || member_) {
        out.beginObject("data");
        if (returnCode_ != ReturnCode::Success) {
            out.write("returnCode", std::int64_t(returnCode_));
            out.write("name", std::string_view(getName(returnCode_)));
        } else {
            out.writeJson("name", "\"DecodeError\"");
        }
        if (member_)
            out.write("member", std::string_view(*member_));
        out.endObject("data");
    }
    out.endObject("error");
    out.endObject("");
    return out.generate();
}

std::string IRPC::RPCNotificationObject::serialize() const {
    Serializer out;
    out.beginObject("");
    out.writeJson("jsonrpc", "\"2.0\"");
    out.write("method", std::string_view(name_));
    out.writeJson("params", payload_);
    out.endObject("");
    return out.generate();
}

} // namespace Ostrel
