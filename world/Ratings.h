#pragma once

#include "world/XmltvReader.h"

#include <string>
#include <vector>

namespace Ostrel::TV::Tool {

/// The systems of a rating that carry a world's own words: the text of the guidance, and that an event is
/// unsuitable before the watershed.
constexpr const char* guidanceSystem = "guidance";
constexpr const char* watershedSystem = "watershed";

/// What viewers are warned of.
struct Warning {
    std::string guidance; ///< empty without
    bool isLate = false; ///< unsuitable before the watershed
};

/// Reads the ratings of a programme, whatever their systems: an age, alone or in a word ("15", "FSK 16",
/// "TV-14", "R18"), or one of the words that stand for one ("R", "TV-MA"). From 12 on viewers are
/// warned; from 17 on the programme is not for children's hours.
Warning readRatings(const std::vector<XmltvText>& ratings);

} // namespace Ostrel::TV::Tool
