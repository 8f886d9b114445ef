// SPDX-License-Identifier: Apache-2.0

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

    /// For a back end to get ready in. Called once, before the first context is made.
    /// @returns false when the module cannot serve; true unless overridden
    bool init() override;

    /// What the back end has going must be over: its own part is gone by the time this runs,
    /// and its uninit() is out of reach.
    ~TVModule() override = 0;

    /// Makes a context with no list selected. The caller gives it back with deleteContext().
    ///
    /// Called with the turn held.
    /// @returns null when the module gives none
    virtual TVModuleContext* createContext() = 0;

    /// Destroys a context that this module made. Called with the turn held, when nobody uses the
    /// context any more.
    virtual void deleteContext(TVModuleContext* context) = 0;

    /// For a back end to come to rest in. Called once, when no call is under way any more.
    virtual void uninit();

    /// Each calls every listener, in the order of registration, on the calling thread and without
    /// the listeners' lock; what a listener throws passes through.
    void onScanStart(const unsigned& sourceId) override;
    void onScanComplete(const unsigned& sourceId) override;
    void onScanProgress(const unsigned& sourceId, const unsigned& percent) override;

    /// Appends a listener, which is not owned and must be removed before it goes away. One that is
    /// known or hears nothing of scans is ignored.
    void addListener(IListener* listener) override;

    /// When it returns, the listener may still be in a callback that another thread has begun.
    void removeListener(IListener* listener) override;

private:
    /// Calls every listener, without the lock.
    template <typename Callback> void fanOut(Callback callback);

    Mutex mutex_;
    std::vector<ITVConfig::ITVConfigListener*> listeners_ OSTREL_GUARDED_BY(mutex_);
    bool changed_ OSTREL_GUARDED_BY(mutex_) = false; ///< since the last fan-out that noticed
};

} // namespace Ostrel::TV
