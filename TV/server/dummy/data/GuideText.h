#pragma once

#include "TV/server/dummy/data/TextFile.h"

#include <cstdint>
#include <string>
#include <vector>

namespace Ostrel::TV {

/// A content reference identifier as the guide files hold it, for example 1 "/23vbzj".
struct GuideCrid {
    unsigned type = 0;
    std::string data;
};

/// An event of a guide file.
struct GuideEvent {
    unsigned programme = 0; ///< identifier, unique in the whole guide
    std::int64_t start = 0; ///< seconds since 1970-01-01 UTC
    std::int64_t end = 0;
    int content = -1;
    unsigned version = 0;
    bool hd = false;
    bool late = false; ///< unsuitable before the watershed
    bool next = false; ///< the stored mark
    std::vector<GuideCrid> crids;
    unsigned imi = 0;
    unsigned hdLink = 0; ///< programme of the same event on the HD service, 0 when none
    std::string title;
    std::string synopsis; ///< empty when absent
    std::string guidance; ///< empty when absent
    std::string origin; ///< written before it: what it was made from, "catalogue/bbc-one.txt:120"
    TextLine line;
};

/// A service that has events, by the numbers that they carry.
struct GuideService {
    int id = 0; ///< guide service id
    unsigned network = 0; ///< DVB original_network_id
    unsigned stream = 0; ///< DVB transport_stream_id
    unsigned dvbId = 0; ///< DVB service_id
    unsigned place = 0; ///< position carried with the events
};

/// A guide file: one service and its events in the order of time.
struct GuideFile : GuideService {
    std::vector<GuideEvent> events;
};

/// The text of a guide file; `heading` becomes its first comment.
std::string writeGuide(const GuideFile& guide, const std::string& heading);

/// Reads a guide file: what its good lines say. What they are beside each other is judged by checkWorld()
/// (WorldRules.h).
/// @param service  what is known of the service already: the file may say it again, but nothing else
GuideFile readGuide(const std::string& path, const GuideService& service, WorldProblems& problems);

/// London runs one hour ahead of UTC on all days of the guide.
constexpr std::int64_t londonOffset = 3600;

/// Seconds since midnight in London.
constexpr std::int64_t londonTimeOfDay(std::int64_t utc) {
    return (utc + londonOffset) % 86400;
}

/// From 21:00 to 05:30 in London what is unsuitable for children may start.
constexpr bool afterWatershed(std::int64_t utc) {
    constexpr std::int64_t hour = 3600;
    const auto time = londonTimeOfDay(utc);
    return time >= 21 * hour || time < 5 * hour + hour / 2;
}

/// A time as "2011-10-14T17:45:00Z", and back; the line is blamed for a bad one, and for one that does not
/// fit 32 bits.
std::string formatTime(std::int64_t utc);
std::int64_t parseTime(const TextLine& line, const std::string& text);

} // namespace Ostrel::TV
