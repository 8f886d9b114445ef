#include "TV/server/dummy/guide/ViewerZone.h"

#include "TV/server/dummy/world/FileKind.h"
#include "TV/server/dummy/world/LocalTime.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <fstream>
#include <string>
#include <string_view>

#include <unistd.h>

namespace Ostrel::TV {

namespace {

constexpr const char* systemZone = "/etc/localtime";
constexpr const char* systemZoneName = "/etc/timezone"; // Debian's, where the file above may be a copy

/// The part of a path behind the folder of all zones; empty for another path.
std::string nameOfFile(const std::string& path) {
    constexpr std::string_view folder = "/zoneinfo/";
    const auto found = path.rfind(folder);
    return found == std::string::npos ? "" : path.substr(found + folder.size());
}

std::string findSystemZone() {
    if (kindOf(systemZone) == FileKind::Missing)
        return "UTC";
    std::array<char, PATH_MAX> target;
    const auto size = readlink(systemZone, target.data(), target.size()); // below 0 for a copy
    std::string name = nameOfFile({target.data(), static_cast<std::size_t>(std::max(size, ssize_t{0}))});
    if (name.empty())
        std::getline(std::ifstream(systemZoneName), name);
    return isKnownZone(name) ? name : "";
}

} // namespace

std::string findViewerZone() {
    const char* const set = std::getenv("TZ");
    if (set == nullptr)
        return findSystemZone();
    const std::string zone = set[0] == ':' ? set + 1 : set;
    if (zone.empty() || zone == "UTC0")
        return "UTC";
    if (zone == systemZone)
        return findSystemZone();
    const std::string name = zone.front() == '/' ? nameOfFile(zone) : zone;
    return isKnownZone(name) ? name : "";
}

} // namespace Ostrel::TV
