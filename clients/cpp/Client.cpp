#include "clients/cpp/Client.h"

#include "clients/cpp/Connection.h"
#include "clients/cpp/Values.h"

#include <boost/json/serialize.hpp>

namespace Ostrel::Client {

namespace {

namespace json = boost::json;

std::string text(const json::object& payload) {
    return json::serialize(payload);
}

} // namespace

Client::Client(const Url& url, const ClientOptions& options)
    : timeout_(options.timeout), connection_(std::make_unique<Connection>(url, options)) {}

Client::~Client() = default;

std::string Client::request(std::string_view method, std::string_view params) {
    return json::serialize(connection_->request(method, params, timeout_));
}

std::string Client::call(std::string_view method, std::string_view payload) {
    return request(method, makeParams(payload));
}

template <class Result> Result Client::ask(std::string_view method, std::string_view payload) {
    return fromJson<Result>(connection_->request(method, makeParams(payload), timeout_));
}

std::string Client::makeParams(std::string_view payload) {
    std::string params = R"({"context":)" + std::to_string(getContext());
    if (!payload.empty())
        params.append(R"(,"payload":)").append(payload);
    return params + "}";
}

std::uint32_t Client::getContext() {
    if (!context_)
        context_ = createContext();
    return *context_;
}

std::uint32_t Client::createContext() {
    return fromJson<std::uint32_t>(connection_->request("ITVService::createContext", {}, timeout_));
}

void Client::deleteContext(std::uint32_t context) {
    request("ITVService::deleteContext", R"({"context":)" + std::to_string(context) + "}");
    if (context_ == context)
        context_.reset();
}

std::optional<Notification> Client::next(std::chrono::milliseconds timeout) {
    return connection_->next(timeout);
}

Notification Client::next() {
    return *next(std::chrono::milliseconds::max());
}

void Client::selectList(std::string_view base) {
    call("ITVService::serviceListSet", text({{"base", base}}));
}

std::vector<ServiceInfo> Client::read(std::uint32_t limit) {
    return ask<std::vector<ServiceInfo>>("ITVService::serviceListRead", text({{"limit", limit}}));
}

std::vector<ServiceInfo> Client::get(std::uint32_t limit) {
    return ask<std::vector<ServiceInfo>>("ITVService::serviceListGet", text({{"limit", limit}}));
}

std::uint32_t Client::seek(std::int32_t offset, Whence whence) {
    return ask<std::uint32_t>("ITVService::serviceListSeek",
                              text({{"offset", offset}, {"whence", static_cast<std::uint32_t>(whence)}}));
}

std::uint32_t Client::seekByUri(std::string_view uri) {
    return ask<std::uint32_t>("ITVService::serviceListSeekByUri", text({{"uri", uri}}));
}

std::uint32_t Client::seekByChannelNumber(std::uint32_t channelNumber) {
    return ask<std::uint32_t>("ITVService::serviceListSeekByChannelNumber",
                              text({{"channelNumber", channelNumber}}));
}

SignalStatus Client::getSignalStatus(std::uint32_t sourceId) {
    return ask<SignalStatus>("ITVService::signalStatusGet", text({{"sourceId", sourceId}}));
}

std::uint32_t Client::getUtcTime() {
    // Takes no parameters, but wants a payload that decodes.
    return ask<std::uint32_t>("ITVService::utcTimeGet", text({}));
}

std::vector<GenreStringMap> Client::getGenres() {
    return ask<std::vector<GenreStringMap>>("ITVGuide::getGenreStringMapList");
}

std::vector<EventInfo> Client::getNowNext(std::uint32_t id) {
    return ask<std::vector<EventInfo>>("ITVGuide::queryNowNextEventInfo", text({{"id", id}}));
}

std::vector<EventInfo> Client::queryEvents(const Query& query) {
    return ask<std::vector<EventInfo>>("ITVGuide::queryEventInfo", text({{"query", toJson(query)}}));
}

std::vector<std::string> Client::query(std::string_view expression, std::string_view format) {
    return ask<std::vector<std::string>>(
        "ITVGuide::query",
        text({{"expression", expression}, {"expressionFormat", "quoril"}, {"outputFormat", format}}));
}

void Client::startScan(std::uint32_t sourceId) {
    call("ITVConfig::scanStart", text({{"sourceId", sourceId}, {"useNIT", 0}}));
}

void Client::startBlindScan(std::uint32_t sourceId) {
    call("ITVConfig::scanBlindStart", text({{"sourceId", sourceId}, {"useNIT", 0}}));
}

bool Client::stopScan(std::uint32_t sourceId) {
    return ask<bool>("ITVConfig::scanStop", text({{"sourceId", sourceId}}));
}

ScanInfo Client::getScanInfo(std::uint32_t sourceId) {
    return ask<ScanInfo>("ITVConfig::scanInfoGet", text({{"sourceId", sourceId}}));
}

void Client::addTransponder(std::uint32_t sourceId, std::uint32_t frequencyKHz) {
    call("ITVConfig::transponderListAdd",
         text({{"sourceId", sourceId}, {"tuningParams", {{"frequencyKHz", frequencyKHz}}}}));
}

void Client::clearTransponders(std::uint32_t sourceId) {
    call("ITVConfig::transponderListDeleteAll", text({{"sourceId", sourceId}}));
}

} // namespace Ostrel::Client
