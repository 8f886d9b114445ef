#include "tests/TV/server/FakeModule.h"

#include <sstream>

namespace Ostrel::TV {

namespace {

const VectorObject<ITVService::ServiceInfo> services{{1, "BBC ONE", "dvb://233a..1041", 1043,
                                                      ITVService::ServiceInfo::Type::Television, "BBC", false,
                                                      false, true, true}};
const VectorObject<ITVGuide::EventInfo> events{{1043, 60, 120, "News", "", false, 0, {32}}};

} // namespace

TVModuleContext* FakeModule::createContext() {
    note("createContext()");
    return new FakeContext(*this);
}

void FakeModule::deleteContext(TVModuleContext* context) {
    delete context;
    note("deleteContext()");
}

void FakeModule::note(const std::string& call) {
    calls.push_back(call);
    if (const auto reaction = onCall) // a copy: it may put another in its place
        reaction();
}

template <typename... Arguments>
void FakeContext::note(const char* operation, const Arguments&... arguments) {
    std::ostringstream call;
    [[maybe_unused]] const char* separator = "";
    call << operation << '(';
    ((call << separator << arguments, separator = ", "), ...);
    call << ')';
    module_.note(call.str());
}

unsigned FakeContext::serviceListSeekByUri(const std::string& uri) {
    note("serviceListSeekByUri", uri);
    return 3;
}

unsigned FakeContext::serviceListSeekByChannelNumber(const unsigned& channelNumber) {
    note("serviceListSeekByChannelNumber", channelNumber);
    return 4294967295u;
}

bool FakeContext::serviceListSet(const std::string& base) {
    note("serviceListSet", base);
    return true;
}

VectorObject<ITVService::ServiceInfo> FakeContext::serviceListRead(const unsigned& limit) {
    note("serviceListRead", limit);
    return services;
}

VectorObject<ITVService::ServiceInfo> FakeContext::serviceListGet(const unsigned& limit) {
    note("serviceListGet", limit);
    return services;
}

unsigned FakeContext::serviceListSeek(const int& offset, const unsigned& whence) {
    note("serviceListSeek", offset, whence);
    return 0;
}

VectorObject<std::string> FakeContext::nowNextGet(const unsigned& id, const std::string& outputFormat) {
    note("nowNextGet", id, outputFormat);
    return {"now", "next"};
}

ITVService::SignalStatus FakeContext::signalStatusGet(const unsigned& sourceId) {
    note("signalStatusGet", sourceId);
    return {};
}

std::time_t FakeContext::utcTimeGet() {
    note("utcTimeGet");
    return 3000000000;
}

bool FakeContext::serviceListDeleteAll() {
    note("serviceListDeleteAll");
    return true;
}

bool FakeContext::serviceListDelete() {
    note("serviceListDelete");
    return false;
}

bool FakeContext::transponderListDeleteAll(const unsigned& sourceId) {
    note("transponderListDeleteAll", sourceId);
    return true;
}

bool FakeContext::transponderListAdd(const unsigned& sourceId, const TuningParams& tuningParams) {
    note("transponderListAdd", sourceId, tuningParams.getFrequencyKHz());
    return true;
}

bool FakeContext::scanBlindStart(const unsigned& sourceId, const int& useNIT) {
    note("scanBlindStart", sourceId, useNIT);
    return true;
}

bool FakeContext::scanHomeStart(const unsigned& sourceId, const TuningParams& tuningParams,
                                const int& useNIT) {
    note("scanHomeStart", sourceId, tuningParams.getFrequencyKHz(), useNIT);
    return true;
}

bool FakeContext::scanStart(const unsigned& sourceId, const int& useNIT) {
    note("scanStart", sourceId, useNIT);
    return true;
}

bool FakeContext::scanStop(const unsigned& sourceId) {
    note("scanStop", sourceId);
    return false;
}

ITVConfig::ScanInfo FakeContext::scanInfoGet(const unsigned& sourceId) {
    note("scanInfoGet", sourceId);
    return ScanInfo(module_.scanning, 50, 0, 0, 0, 0, 0, 8, 9, 10, 11, 0, 0);
}

VectorObject<std::string> FakeContext::query(const std::string& expression,
                                             const std::string& expressionFormat,
                                             const std::string& outputFormat) {
    note("query", expression, expressionFormat, outputFormat);
    return {"<a/>"};
}

VectorObject<ITVGuide::EventInfo> FakeContext::queryEventInfo(const Query& query) {
    note("queryEventInfo", query.getServiceIdList().size(), query.getTimeRange().getBase());
    return events;
}

VectorObject<ITVGuide::EventInfo> FakeContext::queryNowNextEventInfo(const unsigned& id) {
    note("queryNowNextEventInfo", id);
    return events;
}

VectorObject<ITVGuide::GenreStringMap> FakeContext::getGenreStringMapList() {
    note("getGenreStringMapList");
    return {{16, "movie/drama (general)"}};
}

} // namespace Ostrel::TV
