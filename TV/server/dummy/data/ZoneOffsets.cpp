#include "TV/server/dummy/data/ZoneOffsets.h"

#include "TV/server/dummy/world/LocalTime.h"

#include <cstdlib>
#include <ctime>
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

private:
    static void set(const std::string& value) {
        setenv("TZ", value.c_str(), 1);
        tzset();
    }

    std::optional<std::string> before_;
};

} // namespace

std::vector<ZoneOffset> readZoneOffsets(const std::string& zone, std::int32_t from, std::int32_t to) {
    if (!isKnownZone(zone))
        throw std::runtime_error("the time zone \"" + zone +
                                 "\" is not known here: names are like Europe/London, of the package tzdata");
    const ProcessZone process(zone);
    return readLocalOffsets(from, to);
}

} // namespace Ostrel::TV
