// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/serialization/ComplexObject.h"
#include "TV/interfaces/ITVConfig.h"
#include "TV/interfaces/ITVGuide.h"
#include "TV/interfaces/ITVService.h"

namespace Ostrel::TV {

class TVModule;

/// One client's view of a module: the three interfaces, with what belongs to that client alone.
///
/// TVModule::createContext() makes it and calls init(); TVModule::deleteContext() destroys it, once
/// nobody uses it any more. In between the server calls ITVService and ITVConfig with the turn, so
/// no two of these calls are ever at work at once, and ITVGuide from any number of threads.
///
/// What an operation throws is the client's error, and the server logs it: an Exception by its
/// code, a std::exception (std::bad_alloc may come of any) by its text.
class OSTREL_API TVModuleContext : public ComplexObject,
                                   public virtual ITVConfig,
                                   public virtual ITVService,
                                   public virtual ITVGuide {
public:
    /// @param module  the owner, for derived classes to keep
    explicit TVModuleContext(TVModule* module);

    bool init() override = 0;

    /// A derived class calls its own uninit() here: this one cannot.
    ~TVModuleContext() override = 0;

    /// Ends what the context has going; nothing is called afterwards. Calling it twice is harmless.
    virtual void uninit() = 0;

    // What these do stands in the interfaces. Declared here they have slots of their own in a
    // context's first table, in this order, which modules and servers that were compiled apart
    // have in common.
    unsigned serviceListSeekByUri(const std::string& uri) override = 0;
    unsigned serviceListSeekByChannelNumber(const unsigned& channelNumber) override = 0;
    bool serviceListSet(const std::string& base) override = 0;
    VectorObject<ServiceInfo> serviceListRead(const unsigned& limit) override = 0;
    VectorObject<ServiceInfo> serviceListGet(const unsigned& limit) override = 0;
    unsigned serviceListSeek(const int& offset, const unsigned& whence) override = 0;
    VectorObject<std::string> nowNextGet(const unsigned& id, const std::string& outputFormat) override = 0;
    SignalStatus signalStatusGet(const unsigned& sourceId) override = 0;
    std::time_t utcTimeGet() override = 0;
    bool serviceListDeleteAll() override = 0;
    bool serviceListDelete() override = 0;

    bool transponderListDeleteAll(const unsigned& sourceId) override = 0;
    bool transponderListAdd(const unsigned& sourceId, const TuningParams& tuningParams) override = 0;
    bool scanBlindStart(const unsigned& sourceId, const int& useNIT) override = 0;
    bool scanHomeStart(const unsigned& sourceId, const TuningParams& tuningParams,
                       const int& useNIT) override = 0;
    bool scanStart(const unsigned& sourceId, const int& useNIT) override = 0;
    bool scanStop(const unsigned& sourceId) override = 0;
    ScanInfo scanInfoGet(const unsigned& sourceId) override = 0;

    VectorObject<std::string> query(const std::string& expression, const std::string& expressionFormat,
                                    const std::string& outputFormat) override = 0;
    VectorObject<EventInfo> queryEventInfo(const Query& query) override = 0;
    VectorObject<EventInfo> queryNowNextEventInfo(const unsigned& id) override = 0;
    VectorObject<GenreStringMap> getGenreStringMapList() override = 0;

    /// Do nothing: scan events come from the module, so listeners register there.
    void addListener(IListener* listener) override;
    void removeListener(IListener* listener) override;

protected:
    void* reserved = nullptr; ///< stays null
};

} // namespace Ostrel::TV
