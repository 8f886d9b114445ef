#include "TV/server/dummy/guide/Guide.h"

#include "TV/server/dummy/guide/GenreTable.h"

#include <algorithm>
#include <span>

namespace Ostrel::TV {

namespace {
Guide theGuide;
}

Guide& sharedGuide() noexcept {
    return theGuide;
}

void Guide::addEvents(const World& world) {
    world_ = world;
    index_.addGuide(world);
    // Behind the last row the columns hold zeros, which are no maximum.
    const StartTimeIndex::Columns& columns = index_.columns();
    const std::span ends(columns.ends.get(), index_.size() + StartTimeIndex::blockRows);
    earliestStart_ = columns.starts[0];
    latestEnd_ = *std::max_element(ends.begin(), ends.end());
}

void Guide::addGenres() {
    for (const GenreRow& row : genreRows())
        for (std::int32_t code = row.first(); code <= row.last(); ++code)
            genres_.emplace_back(static_cast<unsigned char>(code), row.text);
}

} // namespace Ostrel::TV
