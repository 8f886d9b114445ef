// The context's ITVConfig operations: each locks, asks the module, and throws when it is refused.

#include "TV/server/dummy/DummyTVModuleContext.h"

namespace Ostrel::TV {

// All services go with the transponders, wherever they came from.
// Meant so: docs/oddities.md, "Services go with the transponders".
bool DummyTVModuleContext::transponderListDeleteAll(const unsigned&) {
    const Mutex::Hold hold(module->mutex);
    module->services.clear();
    module->transponders.clear();
    return true;
}

bool DummyTVModuleContext::transponderListAdd(const unsigned&, const TuningParams& tuningParams) {
    const Mutex::Hold hold(module->mutex);
    return module->addTransponderUnderLock(tuningParams.getFrequencyKHz() / 1000);
}

bool DummyTVModuleContext::scanBlindStart(const unsigned& sourceId, const int&) {
    constexpr int line = 1108;
    {
        const Mutex::Hold hold(module->mutex);
        if (module->startBlindScanUnderLock(sourceId))
            return true;
    }
    fail("scanBlindStart", ReturnCode::NotSupported, line);
}

bool DummyTVModuleContext::scanHomeStart(const unsigned&, const TuningParams&, const int&) {
    constexpr int line = 1136;
    fail("scanHomeStart", ReturnCode::NotSupported, line);
}

bool DummyTVModuleContext::scanStart(const unsigned& sourceId, const int&) {
    constexpr int line = 1146;
    {
        const Mutex::Hold hold(module->mutex);
        if (module->startScanUnderLock(sourceId))
            return true;
    }
    fail("scanStart", ReturnCode::NotSupported, line);
}

bool DummyTVModuleContext::updateScanUnderLock(bool stop) {
    return module->updateScanUnderLock(stop);
}

bool DummyTVModuleContext::scanStop(const unsigned&) {
    const Mutex::Hold hold(module->mutex);
    return updateScanUnderLock(true);
}

ITVConfig::ScanInfo DummyTVModuleContext::scanInfoGet(const unsigned&) {
    constexpr int line = 1293;
    {
        const Mutex::Hold hold(module->mutex);
        if (const auto info = module->scanState.describe())
            return *info;
    }
    fail("scanInfoGet", ReturnCode::InvalidState, line);
}

} // namespace Ostrel::TV
