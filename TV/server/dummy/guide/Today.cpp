#include "TV/server/dummy/guide/Today.h"

#include "Ostrel/runtime/Cancellation.h"
#include "TV/server/dummy/guide/ViewerZone.h"
#include "TV/server/dummy/world/LocalTime.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <utility>

namespace Ostrel::TV {

namespace {

constexpr const char* file = "TV/server/dummy/guide/Today";

constexpr std::time_t day = 86400;

// One more than what is promised on either side: a day may have 23 hours, and the next guide is made
// while this one is asked.
constexpr int daysBehind = 2, daysAhead = 8;

std::int32_t fit(std::time_t time) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(std::clamp<std::time_t>(time, Limits::min(), Limits::max()));
}

} // namespace

/// The guide that was made for a day.
struct Today::Laid {
    TodayWorld world;
    std::time_t begin, turn, end; ///< of its days, and of the one that it is for
    Guide guide = {};

    bool willDo(std::time_t now) const { return now - begin >= day && end - now >= 7 * day; }
    bool isFor(std::time_t now) const { return now < turn && willDo(now); }
};

Today::Today(const World& world)
    : world_(world), days_(world), zone_(findViewerZone()), turning_(file), mutex_(file) {}

std::shared_ptr<const Guide> Today::guideAt(std::time_t now) {
    auto laid = laidAt(now);
    const Guide* const guide = &laid->guide;
    return {std::move(laid), guide};
}

std::time_t Today::turnBehind(std::time_t now) {
    return laidAt(now)->turn;
}

std::shared_ptr<const Today::Laid> Today::laidAt(std::time_t now) {
    {
        const Mutex::Hold hold(mutex_);
        if (laid_ && (laid_->isFor(now) || (isTurning_ && laid_->willDo(now))))
            return laid_;
        Cancellation::check(); // to make one takes a while
        isTurning_ = true;
    }
    const Mutex::Hold turning(turning_);
    try {
        // Meanwhile somebody else may have made it.
        auto laid = getLaid();
        if (!laid || !laid->isFor(now))
            laid = lay(now);
        keep(laid);
        return laid;
    } catch (...) {
        keep(nullptr);
        throw;
    }
}

std::shared_ptr<const Today::Laid> Today::getLaid() {
    const Mutex::Hold hold(mutex_);
    return laid_;
}

void Today::keep(std::shared_ptr<const Laid> laid) {
    const Mutex::Hold hold(mutex_);
    isTurning_ = false;
    if (laid)
        laid_.swap(laid); // the old one goes without the lock
}

std::shared_ptr<const Today::Laid> Today::lay(std::time_t now) const {
    auto offsets = readLocalOffsets(fit(now - (daysBehind + 2) * day), fit(now + (daysAhead + 4) * day));
    const ZoneClock clock(offsets);
    const auto beginOf = [&](std::int64_t number) { return clock.toUtc(days_.beginOf(number)); };
    auto today = days_.dayAt(clock.toLocal(now));
    if (beginOf(today + 1) <= now) // an hour that comes twice is at the end of the day
        ++today;
    const TodayWorld::Window window{today - daysBehind, today + daysAhead};
    const auto begin = beginOf(window.first), turn = beginOf(today + 1), end = beginOf(window.last + 1);
    auto laid = std::shared_ptr<Laid>(
        new Laid{TodayWorld(world_, days_, window, zone_, std::move(offsets)), begin, turn, end});
    laid->guide.addEvents(laid->world.world());
    return laid;
}

} // namespace Ostrel::TV
