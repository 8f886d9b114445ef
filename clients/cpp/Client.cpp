#include "clients/cpp/Client.h"

#include "clients/cpp/MessageSocket.h"

#include <boost/json/parse.hpp>
#include <boost/json/serialize.hpp>

#include <algorithm>
#include <cctype>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fstream>

namespace Ostrel::Client {

namespace {

namespace json = boost::json;

json::value parse(const std::string& text) {
    json::parse_options options;
    options.max_depth = 256;
    json::error_code error;
    auto message = json::parse(text, error, {}, options);
    if (error)
        throw BadReply("the service sent what is not JSON: " + error.message());
    return message;
}

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

std::uint32_t toUnsigned(const json::value& result) {
    json::error_code error;
    const auto number = result.to_number<std::uint32_t>(error);
    if (error)
        throw BadReply("the reply is not an unsigned 32-bit number");
    return number;
}

bool toBool(const json::value& result) {
    if (!result.is_bool())
        throw BadReply("the reply is not true or false");
    return result.get_bool();
}

bool isTokenLetter(char c) {
    return std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '-' || c == '_';
}

std::string inSeconds(std::chrono::milliseconds time) {
    char text[32];
    std::snprintf(text, sizeof text, "%g s", static_cast<double>(time.count()) / 1000);
    return text;
}

} // namespace

std::string readToken(const std::string& path) {
    std::ifstream file(path);
    std::string token;
    if (!file || !std::getline(file, token)) {
        throw SettingsError("cannot read a token from " + path + ": " +
                            (file.is_open() ? "it is empty or no file" : std::strerror(errno)));
    }
    if (!token.empty() && token.back() == '\r')
        token.pop_back();
    std::string more;
    if (token.empty() || !std::all_of(token.begin(), token.end(), isTokenLetter) || std::getline(file, more))
        throw SettingsError(path + " holds no token: it is one line of letters, digits, \"-\" and \"_\"");
    return token;
}

Client::Client(const Url& url, const ClientOptions& options)
    : timeout_(options.timeout), connection_(std::make_unique<MessageSocket>(url, options)) {}

Client::~Client() = default;

json::value Client::request(std::string_view method, std::string_view params) {
    const auto id = ++lastId_;
    std::string text = R"({"jsonrpc":"2.0","id":)" + std::to_string(id) + R"(,"method":)" +
                       json::serialize(json::string_view(method.data(), method.size()));
    if (!params.empty())
        text.append(R"(,"params":)").append(params);
    text += '}';

    const auto deadline = MessageSocket::deadlineAfter(timeout_);
    connection_->send(text, deadline);
    json::value result;
    while (const auto message = connection_->receive(deadline)) {
        if (takeMessage(*message, id, result))
            return result;
    }
    throw TimedOut("no reply to " + std::string(method) + " within " + inSeconds(timeout_));
}

/// Keeps a notification; true when the message is the reply to this request.
bool Client::takeMessage(const std::string& text, std::int64_t id, json::value& result) {
    auto message = parse(text);
    auto* members = message.if_object();
    if (members == nullptr)
        throw BadReply("the service sent what is no JSON-RPC message");
    const auto* replyId = members->if_contains("id");
    if (replyId == nullptr) {
        if (notifications_.size() == keptNotifications)
            notifications_.pop_front();
        notifications_.push_back({textAt(*members, "method"), objectAt(*members, "params")});
        return false;
    }
    const auto* error = members->if_contains("error");
    // Another number is a reply that came too late. Null is the answer to a request that
    // the service could not read, which can only be the one under way.
    if (*replyId != id && !(replyId->is_null() && error != nullptr))
        return false;
    if (error != nullptr && error->is_object())
        throw makeError(error->get_object());
    auto* value = members->if_contains("result");
    if (value == nullptr)
        throw BadReply("the service sent a reply without a result");
    result = std::move(*value);
    return true;
}

json::value Client::call(std::string_view method, std::string_view payload) {
    std::string params = R"({"context":)" + std::to_string(getContext());
    if (!payload.empty())
        params.append(R"(,"payload":)").append(payload);
    return request(method, params + "}");
}

json::value Client::call(std::string_view method, const json::object& payload) {
    return call(method, json::serialize(payload));
}

std::uint32_t Client::getContext() {
    if (!context_)
        context_ = createContext();
    return *context_;
}

std::uint32_t Client::createContext() {
    return toUnsigned(request("ITVService::createContext"));
}

void Client::deleteContext(std::uint32_t context) {
    request("ITVService::deleteContext", R"({"context":)" + std::to_string(context) + "}");
    if (context_ == context)
        context_.reset();
}

std::optional<Notification> Client::next(std::chrono::milliseconds timeout) {
    return nextUntil(MessageSocket::deadlineAfter(timeout));
}

Notification Client::next() {
    return *nextUntil(MessageSocket::never);
}

std::optional<Notification> Client::nextUntil(TimePoint deadline) {
    json::value ignored;
    while (notifications_.empty()) {
        const auto message = connection_->receive(deadline);
        if (!message)
            return std::nullopt;
        takeMessage(*message, 0, ignored); // no request has the id 0
    }
    auto notification = std::move(notifications_.front());
    notifications_.pop_front();
    return notification;
}

void Client::selectList(std::string_view base) {
    call("ITVService::serviceListSet", {{"base", base}});
}

std::vector<ServiceInfo> Client::read(std::uint32_t limit) {
    return decodeList<ServiceInfo>(call("ITVService::serviceListRead", {{"limit", limit}}));
}

std::vector<ServiceInfo> Client::get(std::uint32_t limit) {
    return decodeList<ServiceInfo>(call("ITVService::serviceListGet", {{"limit", limit}}));
}

std::uint32_t Client::seek(std::int32_t offset, Whence whence) {
    return toUnsigned(call("ITVService::serviceListSeek",
                           {{"offset", offset}, {"whence", static_cast<std::uint32_t>(whence)}}));
}

std::uint32_t Client::seekByUri(std::string_view uri) {
    return toUnsigned(call("ITVService::serviceListSeekByUri", {{"uri", uri}}));
}

std::uint32_t Client::seekByChannelNumber(std::uint32_t channelNumber) {
    return toUnsigned(call("ITVService::serviceListSeekByChannelNumber", {{"channelNumber", channelNumber}}));
}

SignalStatus Client::getSignalStatus(std::uint32_t sourceId) {
    return decode<SignalStatus>(call("ITVService::signalStatusGet", {{"sourceId", sourceId}}));
}

std::uint32_t Client::getUtcTime() {
    // Takes no parameters, but wants a payload that decodes.
    return toUnsigned(call("ITVService::utcTimeGet", json::object()));
}

std::vector<GenreStringMap> Client::getGenres() {
    return decodeList<GenreStringMap>(call("ITVGuide::getGenreStringMapList"));
}

std::vector<EventInfo> Client::getNowNext(std::uint32_t id) {
    return decodeList<EventInfo>(call("ITVGuide::queryNowNextEventInfo", {{"id", id}}));
}

std::vector<EventInfo> Client::queryEvents(const Query& query) {
    return decodeList<EventInfo>(call("ITVGuide::queryEventInfo", {{"query", encode(query)}}));
}

std::vector<std::string> Client::query(std::string_view expression, std::string_view format) {
    const auto reply =
        call("ITVGuide::query",
             {{"expression", expression}, {"expressionFormat", "quoril"}, {"outputFormat", format}});
    if (!reply.is_array())
        throw BadReply("the reply is not a list");
    std::vector<std::string> documents;
    for (const auto& element : reply.get_array()) {
        if (!element.is_string())
            throw BadReply("the reply is not a list of texts");
        documents.emplace_back(element.get_string());
    }
    return documents;
}

void Client::startScan(std::uint32_t sourceId) {
    call("ITVConfig::scanStart", {{"sourceId", sourceId}, {"useNIT", 0}});
}

void Client::startBlindScan(std::uint32_t sourceId) {
    call("ITVConfig::scanBlindStart", {{"sourceId", sourceId}, {"useNIT", 0}});
}

bool Client::stopScan(std::uint32_t sourceId) {
    return toBool(call("ITVConfig::scanStop", {{"sourceId", sourceId}}));
}

ScanInfo Client::getScanInfo(std::uint32_t sourceId) {
    return decode<ScanInfo>(call("ITVConfig::scanInfoGet", {{"sourceId", sourceId}}));
}

void Client::addTransponder(std::uint32_t sourceId, std::uint32_t frequencyKHz) {
    call("ITVConfig::transponderListAdd",
         {{"sourceId", sourceId}, {"tuningParams", {{"frequencyKHz", frequencyKHz}}}});
}

void Client::clearTransponders(std::uint32_t sourceId) {
    call("ITVConfig::transponderListDeleteAll", {{"sourceId", sourceId}});
}

} // namespace Ostrel::Client
