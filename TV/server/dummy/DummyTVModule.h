#pragma once

#include "Ostrel/runtime/Mutex.h"
#include "Ostrel/runtime/Task.h"
#include "TV/interfaces/ITVService.h"
#include "TV/server/TVModule.h"

#include <cstdint>
#include <ctime>
#include <vector>

namespace Ostrel::TV {

/// A back end without a tuner: what a receiver would learn from the air is built in.
///
/// init() runs exactly once in a process, before the first context is made. What it fills for
/// the whole process is only read afterwards; the lists here are guarded by the module's lock.
class OSTREL_API DummyTVModule : public TVModule {
public:
    DummyTVModule();

    /// Builds the lists from the built-in tables. Always true.
    ///
    /// With DUMMYFAKETIME in the environment the module's clock starts at midday, local time,
    /// of the day in the middle of the guide; otherwise it is the system's.
    /// @throws std::bad_alloc
    bool init() override;
    ~DummyTVModule() override;

    TVModuleContext* createContext() override;

    /// Destroys a context, which ends a running scan. Null is ignored.
    void deleteContext(TVModuleContext* context) override;

    void uninit() override;

    /// Adds a frequency behind its equals; a duplicate is kept. Always true.
    bool addTransponderUnderLock(unsigned frequencyMHz) OSTREL_REQUIRES(mutex);

    /// One step of the scan, from the wall clock.
    /// @returns whether it goes on
    bool updateScan();

    /// Tells the listeners how far a running scan has got, and adds the services of the
    /// transponders that it has reached.
    ///
    /// The events come before the services of this step, with the lock held: whoever asks
    /// because of one waits for the lock and finds them all.
    ///
    /// @param stop  ends the scan, wherever it is
    /// @returns whether a scan was running
    bool updateScanUnderLock(bool stop) OSTREL_REQUIRES(mutex);

    /// How far the scan has got that runs or ran last.
    struct ScanState {
        bool scanning = false;
        bool infoValid = false; ///< some scan has been started since init()
        std::uint32_t progress = 0; ///< whole percent, 0 to 100
        std::uint32_t servicesFound = 0; ///< one that was put in before another counts twice
        std::uint32_t tvServices = 0;
        std::uint32_t radioServices = 0;
        std::uint32_t type3Services = 0;
        std::time_t startTime = 0; ///< seconds since 1970-01-01 UTC
        std::time_t endTime = 0;
        std::vector<std::uint32_t> frequencies; ///< MHz, in the order of scanning
        std::uint32_t nextIndex = 0; ///< of the frequency to be merged next
        std::uint32_t sourceId = 0; ///< of the latest blind scan
        TaskHandle task = nullptr; ///< of the latest scan; never looked at
    };

    // For the module's contexts.
    std::uint32_t magic = 0; ///< 42 once initialised; nobody reads it
    std::int32_t timeOffset = 0; ///< seconds, added to the wall clock; fixed by init()
    Mutex mutex;
    VectorObject<ITVService::ServiceInfo> services OSTREL_GUARDED_BY(mutex); ///< by channel number
    VectorObject<ITVService::ServiceInfo> scannedServices OSTREL_GUARDED_BY(mutex); ///< by the latest scan
    std::vector<std::uint32_t> transponders OSTREL_GUARDED_BY(mutex); ///< MHz
    ScanState scanState OSTREL_GUARDED_BY(mutex);

private:
    void fillServices();

    void mergeTransponderUnderLock(std::uint32_t frequencyMHz) OSTREL_REQUIRES(mutex);
    void mergeServiceUnderLock(const ITVService::ServiceInfo& service) OSTREL_REQUIRES(mutex);
};

} // namespace Ostrel::TV
