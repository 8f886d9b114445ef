#include "clients/cpp/Context.h"

#include "clients/cpp/Connection.h"
#include "clients/cpp/Interfaces.h"
#include "clients/cpp/ValueText.h"

namespace Ostrel::Client {

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
    return toText(connection_->request(method, params, timeout_));
}

std::string Context::call(std::string_view method, std::string_view payload) {
    return request(method, makeParams(payload));
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
        number = ITVService(*this).createContext();
    return *number;
}

void Context::selectList(std::string_view base) {
    ITVService(*this).serviceListSet(base);
}

std::vector<ServiceInfo> Context::read(std::uint32_t limit) {
    return ITVService(*this).serviceListRead(limit);
}

std::vector<ServiceInfo> Context::get(std::uint32_t limit) {
    return ITVService(*this).serviceListGet(limit);
}

std::uint32_t Context::seek(std::int32_t offset, Whence whence) {
    return ITVService(*this).serviceListSeek(offset, whence);
}

std::uint32_t Context::seekByUri(std::string_view uri) {
    return ITVService(*this).serviceListSeekByUri(uri);
}

std::uint32_t Context::seekByChannelNumber(std::uint32_t channelNumber) {
    return ITVService(*this).serviceListSeekByChannelNumber(channelNumber);
}

SignalStatus Context::getSignalStatus(std::uint32_t sourceId) {
    return ITVService(*this).signalStatusGet(sourceId);
}

std::uint32_t Context::getUtcTime() {
    return ITVService(*this).utcTimeGet();
}

std::vector<GenreStringMap> Context::getGenres() {
    return ITVGuide(*this).getGenreStringMapList();
}

std::vector<EventInfo> Context::getNowNext(std::uint32_t id) {
    return ITVGuide(*this).queryNowNextEventInfo(id);
}

std::vector<EventInfo> Context::queryEvents(const Query& query) {
    return ITVGuide(*this).queryEventInfo(query);
}

std::vector<std::string> Context::query(std::string_view expression, std::string_view format) {
    return ITVGuide(*this).query(expression, "quoril", format);
}

void Context::startScan(std::uint32_t sourceId) {
    ITVConfig(*this).scanStart(sourceId, 0);
}

void Context::startBlindScan(std::uint32_t sourceId) {
    ITVConfig(*this).scanBlindStart(sourceId, 0);
}

bool Context::stopScan(std::uint32_t sourceId) {
    return ITVConfig(*this).scanStop(sourceId);
}

ScanInfo Context::getScanInfo(std::uint32_t sourceId) {
    return ITVConfig(*this).scanInfoGet(sourceId);
}

void Context::addTransponder(std::uint32_t sourceId, std::uint32_t frequencyKHz) {
    ITVConfig(*this).transponderListAdd(sourceId, {.frequencyKHz = frequencyKHz});
}

void Context::clearTransponders(std::uint32_t sourceId) {
    ITVConfig(*this).transponderListDeleteAll(sourceId);
}

} // namespace Ostrel::Client
