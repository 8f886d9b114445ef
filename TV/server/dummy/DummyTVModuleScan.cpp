// The scan, from its start to its end: it plays back what the line-up has on the air, one second
// for each frequency.

#include "TV/server/dummy/DummyTVModule.h"

#include "Ostrel/runtime/Clock.h"
#include "Ostrel/runtime/Metric.h"
#include "TV/server/dummy/lineup/Lineup.h"

#include <algorithm>
#include <utility>

namespace Ostrel::TV {

namespace {

Gauge runningScans({"ostrel_scan_running", "1 while a scan runs, which all clients share."});
Counter startedScans({"ostrel_scans_started_total", "Scans that have been started."});

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

bool DummyTVModule::startBlindScanUnderLock(const unsigned& sourceId) {
    if (scanState.scanning)
        return false;
    scanState.sourceId = sourceId;
    beginScanUnderLock(sourceId, makeBand());
    return true;
}

// The source is not kept: after the first two events those of the latest blind scan bear its own.
// Meant so: docs/oddities.md, "Source of the latest blind scan".
bool DummyTVModule::startScanUnderLock(const unsigned& sourceId) {
    if (scanState.scanning)
        return false;
    beginScanUnderLock(sourceId, transponders);
    return true;
}

// A stopped scan's task may still sleep; then both step the new scan. So quick starts and stops
// gather tasks, up to the platform's limit; a start that gets none is stepped by those.
//
// Without any task the scan runs until somebody stops it.
// Meant so: docs/oddities.md, "Scan without a task".
void DummyTVModule::beginScanUnderLock(const unsigned& sourceId, std::vector<std::uint32_t> frequencies) {
    scanState.begin(std::move(frequencies));
    scannedServices.clear();
    onScanStart(sourceId);
    onScanProgress(sourceId, 0);
    scanState.task = OS_TaskSpawnParam("scanner", scannerPriority, scannerStack, runScanner, this, 0);
}

bool DummyTVModule::updateScan() OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    {
        const Mutex::Hold hold(mutex);
        updateScanUnderLock(false);
    }
    return scanState.scanning; // the turn keeps it still; at worst a task sleeps once more
}

bool DummyTVModule::updateScanUnderLock(bool stop) {
    if (!scanState.scanning)
        return false;

    const bool moved = scanState.step();
    const bool ended = !scanState.scanning;
    if (moved)
        onScanProgress(scanState.sourceId, scanState.progress);
    if (ended || (stop && scanState.stop()))
        onScanComplete(scanState.sourceId);

    const auto visited = scanState.countVisited();
    for (; scanState.nextIndex < visited; ++scanState.nextIndex)
        mergeTransponderUnderLock(scanState.frequencies[scanState.nextIndex]);
    return true;
}

void DummyTVModule::mergeTransponderUnderLock(std::uint32_t frequencyMHz) {
    const TransponderInfo* const found = sharedLineup().findTransponder(frequencyMHz);
    if (found == nullptr)
        return;
    for (const ITVService::ServiceInfo& service : found->services)
        mergeServiceUnderLock(service);
    // A scan over the transponder list finds what is in it and adds it once more.
    // Meant so: docs/oddities.md, "Frequencies twice".
    addTransponderUnderLock(found->frequencyMHz);
}

void DummyTVModule::mergeServiceUnderLock(const ITVService::ServiceInfo& service) {
    using Type = ITVService::ServiceInfo::Type;
    const auto behind =
        std::find_if(services.begin(), services.end(), [&](const ITVService::ServiceInfo& other) {
            return other.getChannelNumber() >= service.getChannelNumber();
        });
    const bool isLast = behind == services.end();
    if (!isLast && behind->getChannelNumber() == service.getChannelNumber())
        return;
    services.insert(behind, service);
    scannedServices.push_back(service);

    // A service that goes in before another counts as put in and as new, one at the end as new alone.
    // Meant so: docs/oddities.md, "Counted twice".
    scanState.servicesFound += isLast ? 1 : 2;
    switch (service.getType()) {
    case Type::Television:
        ++scanState.tvServices;
        break;
    case Type::Radio:
        ++scanState.radioServices;
        break;
    case Type::Data:
        ++scanState.type3Services;
        break;
    }
}

void DummyTVModule::ScanState::begin(std::vector<std::uint32_t> wanted) {
    startedScans.increment();
    runningScans.set(1);
    scanning = true;
    infoValid = true;
    progress = 0;
    servicesFound = 0;
    tvServices = 0;
    radioServices = 0;
    type3Services = 0;
    nextIndex = 0;
    frequencies = std::move(wanted);
    startTime = Clock::now();
    endTime = startTime + static_cast<std::time_t>(frequencies.size());
}

bool DummyTVModule::ScanState::step() {
    // The clock may be set back while a scan runs: the time before its start counts as the start.
    // Meant so: docs/oddities.md, "A clock set back".
    const auto now = std::max(Clock::now(), startTime);
    scanning = now < endTime;
    runningScans.set(scanning);
    const auto percent =
        scanning ? static_cast<std::uint32_t>((now - startTime) * 100 / (endTime - startTime)) : 100;
    return std::exchange(progress, percent) != percent;
}

bool DummyTVModule::ScanState::stop() {
    runningScans.set(0);
    return std::exchange(scanning, false);
}

std::size_t DummyTVModule::ScanState::countVisited() const {
    return (frequencies.size() * progress + 50) / 100;
}

std::optional<ITVConfig::ScanInfo> DummyTVModule::ScanState::describe() const {
    if (!infoValid)
        return std::nullopt;
    return ITVConfig::ScanInfo(scanning, progress, 0, 0, 0, 0, 0, servicesFound, tvServices, radioServices,
                               type3Services, 0, 0);
}

} // namespace Ostrel::TV
