// The scan, from its start to its end: it plays back what the line-up has on the air, one second
// for each frequency.

#include "TV/server/dummy/DummyTVModule.h"

#include "Ostrel/runtime/Clock.h"
#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Metric.h"
#include "TV/server/dummy/lineup/Lineup.h"

#include <algorithm>
#include <new>
#include <type_traits>
#include <utility>

namespace Ostrel::TV {

namespace {

Gauge runningScans({"ostrel_scan_running", "1 while a scan runs, which all clients share."});
Counter startedScans({"ostrel_scans_started_total", "Scans that have been started."});

constexpr const char* moduleName = "DummyTVModule";

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
    auto band = makeBand();
    scanState.sourceId = sourceId;
    beginScanUnderLock(sourceId, std::move(band));
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
    try {
        const Mutex::Hold hold(mutex);
        updateScanUnderLock(false);
    } catch (const std::bad_alloc&) {
        ostrelDebugPrint(DebugLevel::Warning, moduleName, moduleName, __LINE__,
                         "no memory for a step of the scan; the next one makes up for it\n");
    }
    return scanState.scanning; // the turn keeps it still; at worst a task sleeps once more
}

bool DummyTVModule::updateScanUnderLock(bool stop) {
    if (!scanState.scanning)
        return false;

    const auto percent = scanState.getPercentNow();
    const auto visited = scanState.countVisited(percent);
    auto arrivals = prepareArrivalsUnderLock(visited);

    const bool moved = scanState.step(percent);
    const bool ended = !scanState.scanning;
    if (moved)
        onScanProgress(scanState.sourceId, scanState.progress);
    if (ended || (stop && scanState.stop()))
        onScanComplete(scanState.sourceId);

    for (std::size_t i = 0; i < arrivals.services.size(); ++i)
        mergeServiceUnderLock(arrivals.services[i], arrivals.again[i]);
    // A scan over the transponder list finds what is in it and adds it once more.
    // Meant so: docs/oddities.md, "Frequencies twice".
    for (const auto frequencyMHz : arrivals.transponders)
        addTransponderUnderLock(frequencyMHz);
    scanState.nextIndex = std::max(scanState.nextIndex, static_cast<std::uint32_t>(visited));
    return true;
}

DummyTVModule::Arrivals DummyTVModule::prepareArrivalsUnderLock(std::size_t visited) {
    static_assert(std::is_nothrow_move_constructible_v<ITVService::ServiceInfo> &&
                  std::is_nothrow_move_assignable_v<ITVService::ServiceInfo>);
    Arrivals arrivals;
    for (std::size_t i = scanState.nextIndex; i < visited; ++i) {
        const TransponderInfo* const found = sharedLineup().findTransponder(scanState.frequencies[i]);
        if (found == nullptr)
            continue;
        arrivals.services.insert(arrivals.services.end(), found->services.begin(), found->services.end());
        arrivals.transponders.push_back(found->frequencyMHz);
    }
    arrivals.again = arrivals.services;
    services.reserve(services.size() + arrivals.services.size());
    scannedServices.reserve(scannedServices.size() + arrivals.services.size());
    transponders.reserve(transponders.size() + arrivals.transponders.size());
    return arrivals;
}

void DummyTVModule::mergeServiceUnderLock(ITVService::ServiceInfo& service, ITVService::ServiceInfo& again) {
    using Type = ITVService::ServiceInfo::Type;
    const auto behind =
        std::find_if(services.begin(), services.end(), [&](const ITVService::ServiceInfo& other) {
            return other.getChannelNumber() >= service.getChannelNumber();
        });
    const bool isLast = behind == services.end();
    if (!isLast && behind->getChannelNumber() == service.getChannelNumber())
        return;
    services.insert(behind, std::move(service));
    scannedServices.push_back(std::move(again));

    // A service that goes in before another counts as put in and as new, one at the end as new alone.
    // Meant so: docs/oddities.md, "Counted twice".
    scanState.servicesFound += isLast ? 1 : 2;
    switch (scannedServices.back().getType()) {
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

std::uint32_t DummyTVModule::ScanState::getPercentNow() const {
    // The clock may be set back while a scan runs: the time before its start counts as the start.
    // Meant so: docs/oddities.md, "A clock set back".
    const auto now = std::max(Clock::now(), startTime);
    return now < endTime ? static_cast<std::uint32_t>((now - startTime) * 100 / (endTime - startTime)) : 100;
}

bool DummyTVModule::ScanState::step(std::uint32_t percent) {
    scanning = percent < 100;
    runningScans.set(scanning);
    return std::exchange(progress, percent) != percent;
}

bool DummyTVModule::ScanState::stop() {
    runningScans.set(0);
    return std::exchange(scanning, false);
}

std::size_t DummyTVModule::ScanState::countVisited(std::uint32_t percent) const {
    return (frequencies.size() * percent + 50) / 100;
}

std::optional<ITVConfig::ScanInfo> DummyTVModule::ScanState::describe() const {
    if (!infoValid)
        return std::nullopt;
    return ITVConfig::ScanInfo(scanning, progress, 0, 0, 0, 0, 0, servicesFound, tvServices, radioServices,
                               type3Services, 0, 0);
}

} // namespace Ostrel::TV
