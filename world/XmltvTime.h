#pragma once

#include "TV/server/dummy/world/World.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace Ostrel::TV::Tool {

/// A time as XMLTV writes it: YYYYMMDD, more of hhmmss, and perhaps a zone.
struct XmltvTime {
    std::int64_t seconds = 0; ///< since 1970-01-01, by the clock of the zone
    std::optional<int> offset{}; ///< of the zone, seconds ahead of UTC
};

/// Reads "20111014184500 +0100", "201110141845 BST", "20111014". Nothing when it is none, or when the
/// zone is not among the names that are known: those of Europe, North America, Japan, Korea, Australia
/// and New Zealand that stand for one offset.
std::optional<XmltvTime> readXmltvTime(std::string_view text);

/// Writes a time: "20111014184500 +0100".
/// @param seconds  since 1970-01-01 UTC
/// @param offset   seconds ahead of UTC, whole minutes
std::string formatXmltvTime(std::int64_t seconds, int offset);

/// How far a world's zone is ahead of UTC.
int offsetAt(std::span<const ZoneOffset> zone, std::int64_t utc);

/// What the clocks of a zone showed, as seconds since 1970-01-01 UTC. Of an hour that comes twice it is the
/// first one.
std::int64_t localToUtc(std::span<const ZoneOffset> zone, std::int64_t local);

} // namespace Ostrel::TV::Tool
