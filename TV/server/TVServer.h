// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/serialization/ComplexObject.h"
#include "TV/interfaces/ITVConfig.h"

namespace Ostrel::TV {

class TVModule;

/// What every server of a TV module has in common, whatever its transport: it hears the
/// module's scan events from init() to uninit().
///
/// A host brings things up in this order: the module, its init(), the server, its init();
/// and down in reverse: the server's uninit(), the server, the module's uninit(), the module.
/// Nothing makes up for an uninit() that was left out.
class OSTREL_API TVServer : public ComplexObject, public ITVConfig::ITVConfigListener {
public:
    /// @param module  not owned
    explicit TVServer(TVModule* module);

    TVModule* getModule() const { return module_; }

    /// Listens to the module, which must not be null. Always true.
    bool init() override;
    ~TVServer() override;

    /// Listens no more. Nothing happens when there is no module.
    virtual void uninit();

private:
    TVModule* module_;
};

} // namespace Ostrel::TV
