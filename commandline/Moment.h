#pragma once

#include <cstdint>
#include <string>

namespace Ostrel::CommandLine {

/// A time as people give it: "2011-10-12T20:00", "now", "+2h", "-1d12h", "@1318449600".
///
/// ISO 8601 with a date alone, or to the minute or the second (a fraction of it is dropped);
/// local time unless "Z" or an offset such as "+01:00" ends it. Behind "@" stand seconds since
/// 1970-01-01 UTC, as for date(1). Everything else counts from the service's clock, in d, h, m and s.
class Moment {
public:
    /// @throws UsageError
    explicit Moment(const std::string& text);

    /// Returns what was given.
    const std::string& getText() const { return text_; }

    /// Whether getSeconds() wants to know what time it is.
    bool needsNow() const { return isRelative_; }

    /// Returns seconds since 1970-01-01 UTC.
    ///
    /// @param now  what time it is for the service
    /// @throws UsageError  the time is before 1970 or after 2038-01-19, which no guide reaches
    std::int32_t getSeconds(std::int64_t now) const;

private:
    std::string text_;
    bool isRelative_ = false;
    std::int64_t seconds_ = 0; ///< since 1970, or from now on
};

/// Reads a length of time as people give it, "10s", "1h30m", "2d", up to 2147483647 s. A number alone
/// is of seconds.
///
/// @return seconds
/// @throws UsageError
std::uint32_t readDuration(const std::string& text);

} // namespace Ostrel::CommandLine
