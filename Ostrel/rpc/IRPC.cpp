#include "Ostrel/rpc/IRPC.h"

#include "Ostrel/rpc/Exception.h"
#include "Ostrel/serialization/DecodeError.h"

#include <exception>
#include <new>
#include <utility>

namespace Ostrel {

namespace {

/// Starts a reply: everything before the member that tells the outcome.
void beginReply(Serializer& out, const std::string& id) {
    out.beginObject("");
    out.writeJson("jsonrpc", "\"2.0\"");
    out.writeJson("id", id);
}

} // namespace

IRPC::RPCSynchronousMethodObject::RPCSynchronousMethodObject(std::string interfaceName,
                                                             std::string methodName, std::string id,
                                                             std::string parameters,
                                                             std::shared_ptr<RPCPeer> peer,
                                                             std::size_t replyLimit)
    : interfaceName_(std::move(interfaceName)), methodName_(std::move(methodName)), id_(std::move(id)),
      parameters_(std::move(parameters)), peer_(std::move(peer)), replyLimit_(replyLimit) {}

std::string IRPC::RPCResultObject::serialize() const {
    if (!method_.wantsReply())
        return {};
    Serializer out(method_.getReplyLimit());
    beginReply(out, method_.getId());
    value_.serialize("result", out);
    out.endObject("");
    return out.generate();
}

std::string IRPC::RPCReturnObject::serialize() const {
    if (!method_.wantsReply())
        return {};
    Serializer out;
    beginReply(out, method_.getId());
    out.writeJson("result", "null");
    out.endObject("");
    return out.generate();
}

IRPC::RPCErrorObject::RPCErrorObject(const RPCSynchronousMethodObject& method, const std::string& message)
    : id_(method.getId()), code_(HandlerError), message_(message) {
    classify();
}

IRPC::RPCErrorObject::RPCErrorObject(std::string id, ErrorCode code, std::string message)
    : id_(std::move(id)), code_(code), message_(std::move(message)) {}

IRPC::RPCErrorObject IRPC::RPCErrorObject::forEscaped(const RPCSynchronousMethodObject& method) {
    RPCErrorObject error(method.getId(), InternalError, "unknown");
    try {
        throw;
    } catch (const Exception& exception) {
        error.message_ = exception.what();
    } catch (const std::exception& exception) {
        error.message_ = exception.what();
    } catch (...) {
    }
    error.classify();
    return error;
}

void IRPC::RPCErrorObject::classify() {
    if (!std::current_exception())
        return;
    try {
        throw;
    } catch (const DecodeError& error) {
        code_ = InvalidParams;
        decodeError_ = true;
        member_ = error.getMember();
    } catch (const TextTooLarge&) {
        code_ = ReplyTooLarge;
    } catch (const std::bad_alloc&) {
        message_ = getMessage(ReturnCode::OutOfMemory);
    } catch (...) {
    }
}

std::string IRPC::RPCErrorObject::serialize() const {
    if (id_.empty())
        return {};
    Serializer out;
    beginReply(out, id_);
    out.beginObject("error");
    out.write("code", std::int64_t(code_));
    out.write("message", std::string_view(message_));

    const bool fromHandler = code_ == HandlerError || code_ == InternalError;
    const auto returnCode = fromHandler ? findReturnCode(message_) : ReturnCode::Success;
    if (decodeError_) {
        out.beginObject("data");
        out.writeJson("name", "\"DecodeError\"");
        out.write("member", std::string_view(member_));
        out.endObject("data");
    } else if (returnCode != ReturnCode::Success) {
        out.beginObject("data");
        out.write("returnCode", std::int64_t(returnCode));
        out.write("name", std::string_view(getName(returnCode)));
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
