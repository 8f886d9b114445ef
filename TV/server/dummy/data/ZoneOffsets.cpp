#include "TV/server/dummy/data/ZoneOffsets.h"

#include <algorithm>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <optional>
#include <stdexcept>

namespace Ostrel::TV {

namespace {

/// Makes a time zone the process's, for a while.
class ProcessZone {
public:
    explicit ProcessZone(const std::string& zone) {
        if (const char* const before = std::getenv("TZ"))
            before_ = before;
        set(":" + zone);
    }
    ~ProcessZone() {
        if (before_) {
            set(*before_);
        } else {
            unsetenv("TZ");
            tzset();
        }
    }
    ProcessZone(const ProcessZone&) = delete;
    ProcessZone& operator=(const ProcessZone&) = delete;

    static std::int32_t offsetAt(std::time_t time) {
        std::tm local{};
        localtime_r(&time, &local);
        return static_cast<std::int32_t>(local.tm_gmtoff);
    }

private:
    static void set(const std::string& value) {
        setenv("TZ", value.c_str(), 1);
        tzset();
    }

    std::optional<std::string> before_;
};

/// The C library takes a name that it does not know for UTC.
bool isKnown(const std::string& zone) {
    if (zone == "UTC")
        return true;
    if (zone.empty() || zone.front() == '/' || zone.find("..") != std::string::npos)
        return false;
    const char* const folder = std::getenv("TZDIR");
    std::error_code error;
    return std::filesystem::is_regular_file(
        std::filesystem::path(folder ? folder : "/usr/share/zoneinfo") / zone, error);
}

} // namespace

std::vector<ZoneOffset> readZoneOffsets(const std::string& zone, std::int32_t from, std::int32_t to) {
    constexpr std::int64_t day = 86400;
    if (!isKnown(zone))
        throw std::runtime_error("the time zone \"" + zone +
                                 "\" is not known here: names are like Europe/London, of the package tzdata");
    const ProcessZone process(zone);
    std::vector<ZoneOffset> offsets{{from, ProcessZone::offsetAt(from)}};
    // No zone changes twice a day.
    for (std::int64_t time = from; time < to;) {
        const std::int64_t next = std::min<std::int64_t>(time + day, to);
        if (ProcessZone::offsetAt(next) != offsets.back().seconds) {
            std::int64_t before = time, after = next;
            while (after - before > 1) {
                const auto middle = before + (after - before) / 2;
                (ProcessZone::offsetAt(middle) == offsets.back().seconds ? before : after) = middle;
            }
            offsets.push_back({static_cast<std::int32_t>(after), ProcessZone::offsetAt(after)});
        }
        time = next;
    }
    return offsets;
}

} // namespace Ostrel::TV
