#pragma once

#include "Ostrel/runtime/Mutex.h"
#include "TV/server/dummy/guide/Guide.h"
#include "TV/server/dummy/guide/TodayWorld.h"

#include <ctime>
#include <memory>
#include <string>

namespace Ostrel::TV {

/// A guide that is always on air: the days of a world, laid around whatever time it is in the time
/// zone of the process (TodayWorld.h).
///
/// At any moment a day lies behind and seven lie ahead. The guide turns when somebody asks for it
/// behind the end of its day, or for a time that it does not reach around: who asks first makes
/// another. The others have the old one meanwhile, while it will do, and wait otherwise.
///
/// Any thread may call any operation.
class Today {
public:
    /// @param world  must stay as long as this object and the guides that it gives
    explicit Today(const World& world);

    /// The guide for a time, seconds since 1970-01-01 UTC. Whoever keeps it may read it.
    /// @throws std::bad_alloc  there is no memory for another one
    std::shared_ptr<const Guide> guideAt(std::time_t now);

    /// From when on the guide of a time is no longer the one to ask.
    std::time_t turnBehind(std::time_t now);

private:
    struct Laid;

    std::shared_ptr<const Laid> laidAt(std::time_t now);
    std::shared_ptr<const Laid> getLaid();
    /// Ends a turn, with a guide or, where none could be made, without.
    void keep(std::shared_ptr<const Laid> laid);
    std::shared_ptr<const Laid> lay(std::time_t now) const;

    const World& world_;
    const RepeatedDays days_;
    const std::string zone_;
    Mutex turning_; ///< held by who makes a guide
    Mutex mutex_; ///< of the members below, never held for long
    std::shared_ptr<const Laid> laid_ OSTREL_GUARDED_BY(mutex_); ///< null until it is asked for
    bool isTurning_ OSTREL_GUARDED_BY(mutex_) = false;
};

} // namespace Ostrel::TV
