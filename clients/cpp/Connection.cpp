#include "clients/cpp/Connection.h"

#include "clients/cpp/Errors.h"
#include "clients/cpp/MessageSocket.h"
#include "clients/cpp/Values.h"

#include <boost/json/serialize.hpp>

#include <cstdio>
#include <limits>

namespace Ostrel::Client {

namespace {

namespace json = boost::json;

std::string textAt(const json::object& members, std::string_view key) {
    const auto* value = members.if_contains(key);
    return value != nullptr && value->is_string() ? std::string(value->get_string()) : std::string();
}

std::optional<std::int64_t> numberAt(const json::object& members, std::string_view key) {
    const auto* value = members.if_contains(key);
    if (value == nullptr || !value->is_int64())
        return std::nullopt;
    return value->get_int64();
}

json::object objectAt(const json::object& members, std::string_view key) {
    const auto* value = members.if_contains(key);
    return value != nullptr && value->is_object() ? value->get_object() : json::object();
}

std::optional<std::uint32_t> unsignedAt(const json::object& members, std::string_view key) {
    const auto number = numberAt(members, key);
    if (!number || *number < 0 || *number > std::numeric_limits<std::uint32_t>::max())
        return std::nullopt;
    return static_cast<std::uint32_t>(*number);
}

ServiceError makeError(const json::object& error) {
    const auto message = textAt(error, "message");
    ServiceError made(numberAt(error, "code").value_or(0),
                      message.empty() ? "the service refused and gave no reason" : message);
    const auto data = objectAt(error, "data");
    made.returnCode = numberAt(data, "returnCode");
    made.name = textAt(data, "name");
    made.member = textAt(data, "member");
    return made;
}

Notification makeNotification(const json::object& message) {
    const auto params = objectAt(message, "params");
    return {.method = textAt(message, "method"),
            .params = toText(params),
            .sourceId = unsignedAt(params, "sourceId"),
            .percent = unsignedAt(params, "percent")};
}

std::string inSeconds(std::chrono::milliseconds time) {
    char text[32];
    std::snprintf(text, sizeof text, "%g s", static_cast<double>(time.count()) / 1000);
    return text;
}

} // namespace

Connection::Connection(const Url& url, const ClientOptions& options)
    : url_(url), options_(options), socket_(std::make_unique<MessageSocket>(url, options)) {}

Connection::~Connection() = default;

/// Leaves the descriptor telling the truth, however an operation ends.
class Connection::Settling {
public:
    explicit Settling(Connection& connection) : connection_(connection) {}
    ~Settling() { connection_.settle(); }

    Settling(const Settling&) = delete;
    Settling& operator=(const Settling&) = delete;

private:
    Connection& connection_;
};

json::value Connection::request(std::string_view method, std::string_view params,
                                std::chrono::milliseconds timeout) {
    const Settling settling(*this);
    const auto id = ++lastId_;
    std::string text = R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":)" +
                       json::serialize(json::string_view(method.data(), method.size()));
    if (!params.empty())
        text.append(R"(,"params":)").append(params);
    text += '}';

    const auto deadline = MessageSocket::deadlineAfter(timeout);
    socket_->send(text, deadline);
    json::value result;
    while (const auto message = receive(deadline)) {
        if (takeMessage(*message, id, result))
            return result;
    }
    throw TimedOut("no reply to " + std::string(method) + " within " + inSeconds(timeout));
}

/// Keeps a notification; true when the message is the reply to this request.
bool Connection::takeMessage(const std::string& text, std::int64_t id, json::value& result) {
    auto message = parse(text);
    auto* members = message.if_object();
    if (members == nullptr)
        throw BadReply("the service sent what is no JSON-RPC message");
    const auto* replyId = members->if_contains("id");
    if (replyId == nullptr) {
        if (notifications_.size() == keptNotifications)
            notifications_.pop_front();
        notifications_.push_back(makeNotification(*members));
        return false;
    }
    const auto* error = members->if_contains("error");
    // Null is the answer to a request that the service could not read: the oldest without a reply.
    // Another number than that of the one under way is a reply that came too late.
    const bool isUnread = replyId->is_null() && error != nullptr && answeredId_ < lastId_;
    const auto answered = isUnread ? answeredId_ + 1 : replyId->is_int64() ? replyId->get_int64() : 0;
    if (answered <= answeredId_ || answered > lastId_)
        return false;
    answeredId_ = answered;
    if (answered != id)
        return false;
    if (error != nullptr && error->is_object())
        throw makeError(error->get_object());
    auto* value = members->if_contains("result");
    if (value == nullptr)
        throw BadReply("the service sent a reply without a result");
    result = std::move(*value);
    return true;
}

std::optional<Notification> Connection::next(std::chrono::milliseconds timeout) {
    const Settling settling(*this);
    const auto deadline = MessageSocket::deadlineAfter(timeout);
    json::value ignored;
    while (notifications_.empty()) {
        const auto message = receive(deadline);
        if (!message)
            return std::nullopt;
        takeMessage(*message, 0, ignored); // no request has the id 0
    }
    auto notification = std::move(notifications_.front());
    notifications_.pop_front();
    return notification;
}

int Connection::getDescriptor() {
    if (!readiness_) {
        readiness_.emplace();
        if (!socket_->getLoss())
            readiness_->watch(socket_->getDescriptor());
        settle();
    }
    return readiness_->getDescriptor();
}

void Connection::handleInput() {
    const Settling settling(*this);
    takeReady();
    if (notifications_.empty() && socket_->getLoss())
        throw ConnectionLost(*socket_->getLoss());
}

void Connection::reconnect() {
    const Settling settling(*this);
    auto socket = std::make_unique<MessageSocket>(url_, options_);
    if (readiness_)
        readiness_->watch(socket->getDescriptor());
    try {
        takeReady();
    } catch (const BadReply&) {
        // The last that a lost connection brings may be anything.
    }
    unread_.clear();
    answeredId_ = lastId_; // nobody will answer the others now
    socket_ = std::move(socket);
}

std::optional<std::string> Connection::receive(std::chrono::steady_clock::time_point deadline) {
    return unread_.empty() ? socket_->receive(deadline) : takeUnread();
}

std::string Connection::takeUnread() {
    auto message = std::move(unread_.front());
    unread_.pop_front();
    return message;
}

/// Takes in what has come, as many messages as keep the caller only for a moment.
void Connection::readReady() {
    constexpr std::size_t most = 100;
    while (unread_.size() < most) {
        auto message = socket_->takeReady();
        if (!message)
            return;
        unread_.push_back(std::move(*message));
    }
}

/// Looks at what has come: keeps notifications.
void Connection::takeReady() {
    readReady();
    json::value ignored;
    while (!unread_.empty())
        takeMessage(takeUnread(), 0, ignored); // no request has the id 0
}

/// The WebSocket reads ahead: a message may be there that the socket shows no more.
void Connection::settle() noexcept {
    if (!readiness_)
        return;
    bool isReady = true;
    try {
        readReady();
        isReady = !unread_.empty() || !notifications_.empty() || socket_->getLoss();
    } catch (const std::exception&) {
        // For want of memory: the next operation says so.
    }
    readiness_->set(isReady);
}

} // namespace Ostrel::Client
