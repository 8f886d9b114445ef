// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/runtime/Mutex.h"
#include "Ostrel/runtime/Task.h"
#include "TV/interfaces/ITVService.h"
#include "TV/server/TVModule.h"

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Ostrel::TV {

class Guide;
class Today;

/// A back end without a tuner: what a receiver would learn from the air is built in.
///
/// init() runs exactly once in a process, before the first context is made. What it fills for
/// the whole process is only read afterwards; the lists here are guarded by the module's lock.
class OSTREL_API DummyTVModule : public TVModule {
public:
    DummyTVModule();

    /// Has the guide always be on air: the days of the world are laid around whatever time it is, in
    /// the time zone of the process. Called before init().
    void keepToday() { keepsToday = true; }

    /// Builds the lists from the tables of the world. Always true.
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

    /// What there is to receive, whatever clients have made of the lists.
    struct World {
        std::string name;
        std::uint32_t services = 0; ///< on the air
        std::uint32_t events = 0; ///< in the guide
        std::int32_t start = 0; ///< of the earliest event, seconds since 1970-01-01 UTC
        std::int32_t end = 0; ///< of the event that ends last
        bool builtIn = false;
        /// That the broadcasters live by, a name of the IANA's database; empty where the viewer's has none.
        std::string timeZone;
        /// From when on another guide answers, where the guide is always on air.
        std::optional<std::time_t> turnsAt;
    };

    // Any thread may ask, after init().
    World describeWorld() const;

    /// Midday, local time, of the day in the middle of the guide; of the day of init() where the guide
    /// is always on air.
    std::time_t getGuideMidday() const;

    /// When the first event of that service, or of any, starts behind that time; nothing when none
    /// does. Times are seconds since 1970-01-01 UTC.
    std::optional<std::time_t> findNextStart(std::optional<std::int32_t> serviceId, std::time_t after) const;

    /// What signalStatusGet() answers from now on, for every source. Called with the turn held.
    void setSignalStatus(const ITVService::SignalStatus& status) { signalStatus = status; }

    /// Makes both lists, the transponders, the scan and the signal what they were after init(). A
    /// running scan ends without telling its listeners; contexts stay, with no list selected.
    ///
    /// Called with the turn held.
    /// @throws std::bad_alloc  nothing has changed
    void reset();

    /// Adds a frequency behind its equals; a duplicate is kept. Always true.
    bool addTransponderUnderLock(unsigned frequencyMHz) OSTREL_REQUIRES(mutex);

    /// Starts a scan over the transponder list and tells the listeners: its start, and its 0
    /// percent. A task takes it from there. The later events bear the source of the latest blind
    /// scan, not this one.
    /// @returns false, and nothing has changed, while a scan runs
    /// @throws std::bad_alloc
    bool startScanUnderLock(const unsigned& sourceId) OSTREL_REQUIRES(mutex);

    /// The same over every frequency of the band, and the source is kept for the later events.
    bool startBlindScanUnderLock(const unsigned& sourceId) OSTREL_REQUIRES(mutex);

    /// What the scan's task does twice a second: updateScanUnderLock(false), with the lock. Where
    /// memory is short for it, the next one makes up for it.
    /// @returns whether there is a scan to come back for
    bool updateScan();

    /// Takes a running scan on to where the clock says it is, and ends it when that is its end.
    ///
    /// What has changed is raised first and merged afterwards, all with the lock held: a listener
    /// that sends somebody to look makes them wait for this step's services.
    ///
    /// @param stop  ends the scan, wherever it is
    /// @returns whether a scan was running
    /// @throws std::bad_alloc  nothing has changed
    bool updateScanUnderLock(bool stop) OSTREL_REQUIRES(mutex);

    /// The scan that runs, or the one that ran last. All contexts share it.
    struct ScanState {
        /// Starts over: one second for each frequency, in this order.
        void begin(std::vector<std::uint32_t> wanted);

        /// The percentage that the clock says.
        std::uint32_t getPercentNow() const;

        /// Moves to a percentage; at the end the scan no longer runs.
        /// @returns whether the percentage has changed
        bool step(std::uint32_t percent);

        /// Ends the scan where it is.
        /// @returns whether it was running
        bool stop();

        /// How many of the frequencies have been visited at a percentage, to the nearest whole one.
        std::size_t countVisited(std::uint32_t percent) const;

        /// @returns nothing before the first scan
        std::optional<ITVConfig::ScanInfo> describe() const;

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

    // For the module's contexts. Any thread may ask for the guide of a time of the module's clock, and
    // reads it for as long as it keeps it.
    std::shared_ptr<const Guide> guideAt(std::time_t now) const;
    std::shared_ptr<const Guide> guideNow() const;

    std::uint32_t magic = 0; ///< 42 once initialised; nobody reads it
    std::int32_t timeOffset = 0; ///< seconds, added to the wall clock; fixed by init()
    std::uint64_t age = 1; ///< goes up with each reset(); guarded by the turn
    ITVService::SignalStatus signalStatus; ///< of every source; guarded by the turn
    Mutex mutex;
    VectorObject<ITVService::ServiceInfo> services OSTREL_GUARDED_BY(mutex); ///< by channel number
    VectorObject<ITVService::ServiceInfo> scannedServices OSTREL_GUARDED_BY(mutex); ///< by the latest scan
    std::vector<std::uint32_t> transponders OSTREL_GUARDED_BY(mutex); ///< MHz
    ScanState scanState OSTREL_GUARDED_BY(mutex);

private:
    using Services = VectorObject<ITVService::ServiceInfo>;

    /// Adds what the line-up has: the services by channel number, and where they are sent.
    static void addLineup(Services& services, std::vector<std::uint32_t>& transponders);

    /// Tells what begins, and gives it a task.
    void beginScanUnderLock(const unsigned& sourceId, std::vector<std::uint32_t> frequencies)
        OSTREL_REQUIRES(mutex);

    /// What a step of the scan adds to the lists, so that adding it cannot fail.
    struct Arrivals {
        Services services;
        Services again; ///< the same, for the other list
        std::vector<std::uint32_t> transponders; ///< MHz
    };
    /// @param visited  how many frequencies will have been
    Arrivals prepareArrivalsUnderLock(std::size_t visited) OSTREL_REQUIRES(mutex);
    void mergeServiceUnderLock(ITVService::ServiceInfo& service, ITVService::ServiceInfo& again)
        OSTREL_REQUIRES(mutex);

    bool keepsToday = false;
    std::unique_ptr<Today> today; ///< null where the guide stays as it is
    std::time_t initTime = 0; ///< by the system's clock, seconds since 1970-01-01 UTC
};

} // namespace Ostrel::TV
