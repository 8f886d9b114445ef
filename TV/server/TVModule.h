#pragma once

#include "Ostrel/runtime/Mutex.h"
#include "Ostrel/serialization/ComplexObject.h"
#include "TV/interfaces/ITVConfig.h"

#include <vector>

namespace Ostrel::TV {

class TVModuleContext;

/// The back end behind a TV server: hands out contexts, and passes scan events on to
/// everybody who listens.
///
/// Any thread may add and remove listeners, a listener in its callback too.
class OSTREL_API TVModule : public ComplexObject, public virtual ITVConfig::ITVConfigNotifier {
public:
    TVModule();

    /// Does nothing here; a back end overrides it. Called once, before the first context is made.
    bool init() override;

    /// A back end stops its own activity in its own destructor: this one cannot ask it to.
    ~TVModule() override = 0;

    /// Makes a context with no list selected. The caller gives it back with deleteContext().
    virtual TVModuleContext* createContext() = 0;

    /// Destroys a context that this module made.
    virtual void deleteContext(TVModuleContext* context) = 0;

    /// Does nothing here; a back end overrides it.
    virtual void uninit();

    void onScanStart(const unsigned& sourceId) override;
    void onScanComplete(const unsigned& sourceId) override;
    void onScanProgress(const unsigned& sourceId, const unsigned& percent) override;

    /// Appends a listener, which is not owned. One that is known or hears nothing of scans is ignored.
    void addListener(IListener* listener) override;
    void removeListener(IListener* listener) override;

private:
    /// Calls every listener, without the lock.
    template <typename Callback> void fanOut(Callback callback);

    Mutex mutex_;
    std::vector<ITVConfig::ITVConfigListener*> listeners_ OSTREL_GUARDED_BY(mutex_);
    bool changed_ OSTREL_GUARDED_BY(mutex_) = false; ///< since the last fan-out that noticed
};

} // namespace Ostrel::TV
