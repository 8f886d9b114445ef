#pragma once

#include "TV/server/dummy/data/TextFile.h"

#include <array>
#include <map>
#include <string>
#include <vector>

namespace Ostrel::TV {

/// A programme of the catalogue with all its episodes; README.md beside the files says more.
struct Programme {
    enum class Kind { Series, Film, Oneoff, Bulletin, Strand };

    std::string title;
    Kind kind = Kind::Series;
    std::vector<std::string> pools;
    int genre = 0; ///< content code; -1 when it has none
    bool hd = false;
    bool late = false; ///< unsuitable before the watershed
    std::string guidance;
    std::vector<TextLine> episodes; ///< "- synopsis" each
    TextLine line;
    TextLine manner; ///< its second line, which has its pools

    std::string synopsis(std::size_t episode) const { return episodes[episode].rest(); }
};

/// A line of a service's shape: what fills its hours from a time on.
struct Slot {
    enum class Source { Pool, Again, With, Closed };

    int minute = 0; ///< of the day, local time
    Source source = Source::Pool;
    std::string name; ///< the pool, or the service to go with
    int againMinute = 0;
    TextLine line;
};

/// What one service shows: its shape and its programmes.
struct Catalogue {
    /// The slots of each day of the week, Monday first, in the order of the broadcast day.
    std::array<std::vector<Slot>, 7> days;
    std::vector<Programme> programmes;

    /// A pool's episodes in the order in which they are dealt: programme and episode number.
    std::vector<std::pair<const Programme*, std::size_t>> deal(const std::string& pool) const;
};

Catalogue readCatalogue(const std::string& path);

} // namespace Ostrel::TV
