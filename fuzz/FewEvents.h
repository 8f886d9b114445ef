#pragma once

#include "TV/server/dummy/data/TemporaryFile.h"
#include "TV/server/dummy/data/WorldFile.h"
#include "TV/server/dummy/data/WorldWriter.h"
#include "TV/server/dummy/guide/Guide.h"

#include <cstdint>
#include <iterator>

namespace Ostrel::Fuzz {

/// The services of fewEvents(), which are their channel numbers and their DVB service ids, too.
constexpr int fewServices[] = {5, 6, 43, 44, 150};
constexpr unsigned fewFrequencies[] = {690, 722, 690, 474, 850}; ///< in MHz; of each service

/// What type of service one is, by its place among them.
constexpr unsigned typeOfFew(unsigned place) {
    return 1 + place % 3;
}

/// A guide that can be gone through row by row for every input: events of many lengths, which begin together
/// here and there and share titles of few words. Times are small numbers, on which chance falls more often.
///
/// Its world stays chosen, for as long as the process.
inline const TV::Guide& fewEvents(unsigned eventsOfEach) {
    using namespace TV;
    WorldWriter writer;
    writer.describe("few", "UTC");
    unsigned number = 0;
    for (unsigned place = 0; place != std::size(fewServices); ++place) {
        const int service = fewServices[place];
        const auto dvbId = static_cast<unsigned>(service);
        writer.addToLineup({.frequencyMHz = fewFrequencies[place],
                            .channelNumber = dvbId,
                            .type = typeOfFew(place),
                            .name = "Service",
                            .network = 1,
                            .stream = 1,
                            .dvbId = dvbId,
                            .provider = {},
                            .line = {}});
        std::int64_t time = 100 + service % 5 * 3;
        for (unsigned i = 0; i != eventsOfEach; ++i, ++number) {
            constexpr int lengths[] = {3, 6, 18, 9, 828};
            constexpr int contents[] = {-1, 0, 0x10, 0x20, 0xFF, 0x110, 0x20};
            constexpr const char* titles[] = {"News", "Weather",    "News and Weather", "a",
                                              "aaab", "Quay \"9\"", "\u00e9t\u00e9",    "NEWS"};
            GuideEvent event;
            event.programme = number + 1;
            event.start = time;
            event.end = time + lengths[i % 29 == 4 ? 4 : number % 4];
            event.content = contents[number % 7];
            event.hd = number % 11 == 0;
            event.title = titles[number % 8];
            event.synopsis = number % 5 == 0 ? "" : titles[number % 13 % 8];
            time = event.end + (i % 17 == 0 ? 1 : 0);
            writer.add({.id = service, .network = 1, .stream = 1, .dvbId = dvbId}, event);
        }
    }
    const TemporaryFile image = makeTemporaryFile();
    writer.write(image.get());
    static const WorldFile file(image.get());
    chooseWorld(file.world());
    static Guide guide;
    guide.addEvents();
    return guide;
}

} // namespace Ostrel::Fuzz
