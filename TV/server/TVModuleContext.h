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

    /// A derived class calls its own uninit() here: this one cannot.
    ~TVModuleContext() override = 0;

    /// Ends what the context has going; nothing is called afterwards. Calling it twice is harmless.
    virtual void uninit() = 0;

    /// Do nothing: scan events come from the module, so listeners register there.
    void addListener(IListener* listener) override;
    void removeListener(IListener* listener) override;

protected:
    void* reserved = nullptr; ///< stays null
};

} // namespace Ostrel::TV
