#include "clients/cpp/Context.h"

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

Context::Context(std::shared_ptr<Connection> connection, std::optional<std::uint32_t> context,
                 std::chrono::milliseconds timeout)
    : connection_(std::move(connection)), context_(std::make_shared<std::optional<std::uint32_t>>(context)),
      timeout_(timeout) {}

Context Context::within(std::chrono::milliseconds timeout) const {
    auto same = *this;
    same.timeout_ = timeout;
    return same;
}

std::string Context::request(std::string_view method, std::string_view params) {
    return json::serialize(connection_->request(method, params, timeout_));
}

std::string Context::call(std::string_view method, std::string_view payload) {
    return request(method, makeParams(payload));
}

template <class Result> Result Context::ask(std::string_view method, std::string_view payload) {
    return fromJson<Result>(connection_->request(method, makeParams(payload), timeout_));
}

std::string Context::makeParams(std::string_view payload) {
    std::string params = R"({"context":)" + std::to_string(getContext());
    if (!payload.empty())
        params.append(R"(,"payload":)").append(payload);
    return params + "}";
}

std::uint32_t Context::getContext() {
    auto& number = *context_;
    if (!number)
        number = makeContext();
    return *number;
}

std::uint32_t Context::makeContext() {
    return fromJson<std::uint32_t>(connection_->request("ITVService::createContext", {}, timeout_));
}

void Context::selectList(std::string_view base) {
    call("ITVService::serviceListSet", text({{"base", base}}));
}

std::vector<ServiceInfo> Context::read(std::uint32_t limit) {
    return ask<std::vector<ServiceInfo>>("ITVService::serviceListRead", text({{"limit", limit}}));
}

std::vector<ServiceInfo> Context::get(std::uint32_t limit) {
    return ask<std::vector<ServiceInfo>>("ITVService::serviceListGet", text({{"limit", limit}}));
}

std::uint32_t Context::seek(std::int32_t offset, Whence whence) {
    return ask<std::uint32_t>("ITVService::serviceListSeek",
                              text({{"offset", offset}, {"whence", static_cast<std::uint32_t>(whence)}}));
}

std::uint32_t Context::seekByUri(std::string_view uri) {
    return ask<std::uint32_t>("ITVService::serviceListSeekByUri", text({{"uri", uri}}));
}

std::uint32_t Context::seekByChannelNumber(std::uint32_t channelNumber) {
    return ask<std::uint32_t>("ITVService::serviceListSeekByChannelNumber",
                              text({{"channelNumber", channelNumber}}));
}

SignalStatus Context::getSignalStatus(std::uint32_t sourceId) {
    return ask<SignalStatus>("ITVService::signalStatusGet", text({{"sourceId", sourceId}}));
}

std::uint32_t Context::getUtcTime() {
    // Takes no parameters, but wants a payload that decodes.
    return ask<std::uint32_t>("ITVService::utcTimeGet", text({}));
}

std::vector<GenreStringMap> Context::getGenres() {
    return ask<std::vector<GenreStringMap>>("ITVGuide::getGenreStringMapList");
}

std::vector<EventInfo> Context::getNowNext(std::uint32_t id) {
    return ask<std::vector<EventInfo>>("ITVGuide::queryNowNextEventInfo", text({{"id", id}}));
}

std::vector<EventInfo> Context::queryEvents(const Query& query) {
    return ask<std::vector<EventInfo>>("ITVGuide::queryEventInfo", text({{"query", toJson(query)}}));
}

std::vector<std::string> Context::query(std::string_view expression, std::string_view format) {
    return ask<std::vector<std::string>>(
        "ITVGuide::query",
        text({{"expression", expression}, {"expressionFormat", "quoril"}, {"outputFormat", format}}));
}

void Context::startScan(std::uint32_t sourceId) {
    call("ITVConfig::scanStart", text({{"sourceId", sourceId}, {"useNIT", 0}}));
}

void Context::startBlindScan(std::uint32_t sourceId) {
    call("ITVConfig::scanBlindStart", text({{"sourceId", sourceId}, {"useNIT", 0}}));
}

bool Context::stopScan(std::uint32_t sourceId) {
    return ask<bool>("ITVConfig::scanStop", text({{"sourceId", sourceId}}));
}

ScanInfo Context::getScanInfo(std::uint32_t sourceId) {
    return ask<ScanInfo>("ITVConfig::scanInfoGet", text({{"sourceId", sourceId}}));
}

void Context::addTransponder(std::uint32_t sourceId, std::uint32_t frequencyKHz) {
    call("ITVConfig::transponderListAdd",
         text({{"sourceId", sourceId}, {"tuningParams", {{"frequencyKHz", frequencyKHz}}}}));
}

void Context::clearTransponders(std::uint32_t sourceId) {
    call("ITVConfig::transponderListDeleteAll", text({{"sourceId", sourceId}}));
}

} // namespace Ostrel::Client
