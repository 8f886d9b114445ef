#pragma once

#include "TV/interfaces/ITVGuide.h"
#include "TV/server/dummy/guide/StartTimeIndex.h"
#include "TV/server/dummy/world/ChosenWorld.h"

#include <cstdint>

namespace Ostrel::TV {

/// What there is to ask about programmes: the events, what their genres are called, and what
/// the clock takes from the events as a whole.
///
/// It is filled before anything reads it, and only read from then on, by any number of threads.
class Guide {
public:
    /// Adds the events of a world, which must stay. A second call with it adds them a second time.
    void addEvents(const World& world = chosenWorld());
    /// Adds what the built-in genre table calls the codes, ascending. So does a second call.
    void addGenres();

    /// Where the rows stand; an empty one while there are no events.
    const World& world() const { return world_; }
    const StartTimeIndex& index() const { return index_; }
    const VectorObject<ITVGuide::GenreStringMap>& genres() const { return genres_; }

    // 0 while there are no events. Times are seconds since 1970-01-01 UTC.
    std::int32_t earliestStart() const { return earliestStart_; }
    std::int32_t latestEnd() const { return latestEnd_; }

private:
    World world_;
    StartTimeIndex index_;
    VectorObject<ITVGuide::GenreStringMap> genres_;
    std::int32_t earliestStart_ = 0;
    std::int32_t latestEnd_ = 0;
};

/// The guide of all modules of the process. It is empty until DummyTVModule::init(), and there
/// for as long as the library is loaded.
Guide& sharedGuide() noexcept;

} // namespace Ostrel::TV
