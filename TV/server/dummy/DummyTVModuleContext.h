#pragma once

#include "Ostrel/rpc/ReturnCode.h"
#include "TV/server/TVModuleContext.h"
#include "TV/server/dummy/DummyTVModule.h"

#include <cstdint>

namespace Ostrel::TV {

/// One client's place in a simulated module: which service list it has selected, and where in
/// it the cursor stands. The lists are the module's, shared by all contexts.
///
/// The cursor is a bare index: it is not moved when somebody else changes the list.
///
/// Every failure is an Exception, logged when it is thrown; it leaves context and lists as
/// they were. One client at a time.
class DummyTVModuleContext : public TVModuleContext {
public:
    explicit DummyTVModuleContext(DummyTVModule* owner);

    bool init() override;

    /// Ends a running scan, as uninit() does.
    ~DummyTVModuleContext() override;

    /// Ends a running scan without telling its listeners.
    void uninit() override;

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
    /// Logs and throws.
    /// @param line  the caller's source line
    [[noreturn]] static void fail(const char* operation, ReturnCode code, int line);

    /// Whether a list has been selected since the module was as at its start.
    bool listSelected() const { return selectedIn == module->age; }

    VectorObject<ServiceInfo>& selectedListUnderLock() OSTREL_REQUIRES(module->mutex);

    /// Moves the cursor to the first service of the selected list that matches.
    /// @returns false when none does
    template <typename Matches> bool seekFirst(Matches matches);

    bool updateScanUnderLock(bool stop) OSTREL_REQUIRES(module->mutex);

    DummyTVModule* module;
    bool listIsAll = false; ///< services is selected, otherwise scannedServices
    std::uint64_t selectedIn = 0; ///< the module's age when the list was selected; 0 before
    std::uint32_t position = 0; ///< the cursor: index in the selected list, its size at the end
};

} // namespace Ostrel::TV
