#pragma once

#include "TV/server/dummy/world/FileKind.h"
#include "TV/server/dummy/world/World.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <string>
#include <vector>

namespace Ostrel::TV {

/// Whether the database of this machine has a time zone. The C library takes one that it does not
/// find for UTC.
inline bool isKnownZone(const std::string& zone) {
    if (zone == "UTC")
        return true;
    if (zone.empty() || zone.front() == '/' || zone.find("..") != std::string::npos)
        return false;
    const char* const folder = std::getenv("TZDIR");
    const auto file = std::string(folder ? folder : "/usr/share/zoneinfo") + '/' + zone;
    std::array<char, 4> magic{}; // other files are there too
    return kindOf(file) == FileKind::File &&
           std::ifstream(file, std::ios::binary).read(magic.data(), magic.size()) &&
           magic == std::array{'T', 'Z', 'i', 'f'};
}

/// How far the process's time zone is ahead of UTC, from the first of two moments to the second: one
/// element, and another for each change between them.
inline std::vector<ZoneOffset> readLocalOffsets(std::int32_t from, std::int32_t to) {
    constexpr std::int64_t day = 86400;
    const auto offsetAt = [](std::time_t time) {
        std::tm local{};
        localtime_r(&time, &local);
        return static_cast<std::int32_t>(local.tm_gmtoff);
    };
    std::vector<ZoneOffset> offsets{{from, offsetAt(from)}};
    // No zone changes twice a day.
    for (std::int64_t time = from; time < to;) {
        const std::int64_t next = std::min<std::int64_t>(time + day, to);
        if (offsetAt(next) != offsets.back().seconds) {
            std::int64_t before = time, after = next;
            while (after - before > 1) {
                const auto middle = before + (after - before) / 2;
                (offsetAt(middle) == offsets.back().seconds ? before : after) = middle;
            }
            offsets.push_back({static_cast<std::int32_t>(after), offsetAt(after)});
        }
        time = next;
    }
    return offsets;
}

} // namespace Ostrel::TV
