#pragma once

#include "TV/server/TVModule.h"
#include "TV/server/TVModuleContext.h"

#include <functional>
#include <string>
#include <vector>

namespace Ostrel::TV {

/// A module whose contexts write down their calls and answer with fixed values.
class FakeModule : public TVModule {
public:
    bool init() override { return true; }
    TVModuleContext* createContext() override;
    void deleteContext(TVModuleContext* context) override;

    /// Notes a call, for example "serviceListSeek(-2, 1)", and does what the test wants of it.
    void note(const std::string& call);

    std::vector<std::string> calls;
    std::function<void()> onCall; ///< may throw
    unsigned contexts = 0; ///< alive
    bool scanning = false; ///< what scanInfoGet() says
};

class FakeContext : public TVModuleContext {
public:
    explicit FakeContext(FakeModule& module) : TVModuleContext(&module), module_(module) {
        ++module_.contexts;
    }
    ~FakeContext() override { --module_.contexts; }

    bool init() override { return true; }
    void uninit() override {}

    unsigned serviceListSeekByUri(const std::string& uri) override;
    unsigned serviceListSeekByChannelNumber(const unsigned& channelNumber) override;
    bool serviceListSet(const std::string& base) override;
    VectorObject<ServiceInfo> serviceListRead(const unsigned& limit) override;
    VectorObject<ServiceInfo> serviceListGet(const unsigned& limit) override;
    unsigned serviceListSeek(const int& offset, const unsigned& whence) override;
    VectorObject<std::string> nowNextGet(const unsigned& id, const std::string& outputFormat) override;
    SignalStatus signalStatusGet(const unsigned& sourceId) override;
    std::time_t utcTimeGet() override;
    bool serviceListDeleteAll() override;
    bool serviceListDelete() override;

    bool transponderListDeleteAll(const unsigned& sourceId) override;
    bool transponderListAdd(const unsigned& sourceId, const TuningParams& tuningParams) override;
    bool scanBlindStart(const unsigned& sourceId, const int& useNIT) override;
    bool scanHomeStart(const unsigned& sourceId, const TuningParams& tuningParams,
                       const int& useNIT) override;
    bool scanStart(const unsigned& sourceId, const int& useNIT) override;
    bool scanStop(const unsigned& sourceId) override;
    ScanInfo scanInfoGet(const unsigned& sourceId) override;

    VectorObject<std::string> query(const std::string& expression, const std::string& expressionFormat,
                                    const std::string& outputFormat) override;
    VectorObject<EventInfo> queryEventInfo(const Query& query) override;
    VectorObject<EventInfo> queryNowNextEventInfo(const unsigned& id) override;
    VectorObject<GenreStringMap> getGenreStringMapList() override;

private:
    /// Notes a call with its arguments.
    template <typename... Arguments> void note(const char* operation, const Arguments&... arguments);

    FakeModule& module_;
};

} // namespace Ostrel::TV
