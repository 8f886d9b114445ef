// The scan: it plays back what the line-up has on the air, one second for each frequency.

#include "TV/server/dummy/DummyTVModule.h"
#include "TV/server/dummy/lineup/Lineup.h"

#include <algorithm>
#include <cstddef>

namespace Ostrel::TV {

bool DummyTVModule::updateScan() OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    {
        const Mutex::Hold hold(mutex);
        updateScanUnderLock(false);
    }
    return scanState.scanning; // the turn keeps it still; at worst a task sleeps once more
}

bool DummyTVModule::updateScanUnderLock(bool stop) {
    ScanState& scan = scanState;
    if (!scan.scanning)
        return false;

    // The clock may be set back while a scan runs: the time before its start counts as the start.
    const auto now = std::max(std::time(nullptr), scan.startTime);
    if (now < scan.endTime) {
        const auto percent =
            static_cast<std::uint32_t>((now - scan.startTime) * 100 / (scan.endTime - scan.startTime));
        if (percent != scan.progress) {
            scan.progress = percent;
            onScanProgress(scan.sourceId, scan.progress);
        }
    } else {
        scan.scanning = false;
        if (scan.progress != 100) {
            scan.progress = 100;
            onScanProgress(scan.sourceId, scan.progress);
        }
        onScanComplete(scan.sourceId);
    }
    if (stop && scan.scanning) {
        scan.scanning = false;
        onScanComplete(scan.sourceId);
    }

    const auto reached = (scan.frequencies.size() * scan.progress + 50) / 100; // the nearest transponder
    for (; scan.nextIndex < reached; ++scan.nextIndex)
        mergeTransponderUnderLock(scan.frequencies[scan.nextIndex]);
    return true;
}

void DummyTVModule::mergeTransponderUnderLock(std::uint32_t frequencyMHz) {
    const TransponderInfo* const found = builtInLineup().findTransponder(frequencyMHz);
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

} // namespace Ostrel::TV
