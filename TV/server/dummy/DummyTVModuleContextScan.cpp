// The context's ITVConfig operations: the transponder list, and the scan that all contexts share.

#include "TV/server/dummy/DummyTVModuleContext.h"

#include <utility>

namespace Ostrel::TV {

namespace {

constexpr std::uint32_t bandStartMHz = 474;
constexpr std::uint32_t bandEndMHz = 851;
constexpr std::uint32_t bandStepMHz = 8;

constexpr unsigned stepMsec = 500;
constexpr int scannerPriority = 128;
constexpr unsigned scannerStack = 4u << 20; // bytes

std::vector<std::uint32_t> makeBand() {
    std::vector<std::uint32_t> frequencies;
    for (auto frequencyMHz = bandStartMHz; frequencyMHz < bandEndMHz; frequencyMHz += bandStepMHz)
        frequencies.push_back(frequencyMHz);
    return frequencies;
}

int runScanner(void* module) {
    while (static_cast<DummyTVModule*>(module)->updateScan())
        OS_TaskDelayMsec(stepMsec);
    return 0;
}

} // namespace

// The services go with the transponders that they were found on.
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
        if (!module->scanState.scanning) {
            module->scanState.sourceId = sourceId;
            beginScanUnderLock(sourceId, makeBand());
            spawnScannerUnderLock();
            return true;
        }
    }
    fail("scanBlindStart", ReturnCode::NotSupported, line);
}

bool DummyTVModuleContext::scanHomeStart(const unsigned&, const TuningParams&, const int&) {
    constexpr int line = 1136;
    fail("scanHomeStart", ReturnCode::NotSupported, line);
}

// The source is not kept: after the first two events those of the latest blind scan bear its own.
// Meant so: docs/oddities.md, "Source of the latest blind scan".
bool DummyTVModuleContext::scanStart(const unsigned& sourceId, const int&) {
    constexpr int line = 1146;
    {
        const Mutex::Hold hold(module->mutex);
        if (!module->scanState.scanning) {
            beginScanUnderLock(sourceId, module->transponders);
            spawnScannerUnderLock();
            return true;
        }
    }
    fail("scanStart", ReturnCode::NotSupported, line);
}

void DummyTVModuleContext::beginScanUnderLock(const unsigned& sourceId,
                                              std::vector<std::uint32_t> frequencies) {
    auto& scan = module->scanState;
    scan.scanning = true;
    scan.infoValid = true;
    scan.progress = 0;
    scan.servicesFound = 0;
    scan.tvServices = 0;
    scan.radioServices = 0;
    scan.type3Services = 0;
    module->scannedServices.clear();
    scan.nextIndex = 0;
    scan.frequencies = std::move(frequencies);
    scan.startTime = std::time(nullptr);
    scan.endTime = scan.startTime + static_cast<std::time_t>(scan.frequencies.size());
    module->onScanStart(sourceId);
    module->onScanProgress(sourceId, 0);
}

// A stopped scan's task may still sleep; then both step the new scan. So quick starts and stops
// gather tasks, up to the platform's limit; a start that gets none is stepped by those.
//
// Without any task the scan runs until somebody stops it.
// Meant so: docs/oddities.md, "Scan without a task".
void DummyTVModuleContext::spawnScannerUnderLock() {
    module->scanState.task =
        OS_TaskSpawnParam("scanner", scannerPriority, scannerStack, runScanner, module, 0);
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
        auto& scan = module->scanState;
        if (scan.infoValid)
            return {
                scan.scanning,      scan.progress,      0, 0, 0, 0, 0, scan.servicesFound, scan.tvServices,
                scan.radioServices, scan.type3Services, 0, 0};
    }
    fail("scanInfoGet", ReturnCode::InvalidState, line);
}

} // namespace Ostrel::TV
