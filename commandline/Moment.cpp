#include "commandline/Moment.h"

#include "commandline/UsageError.h"
#include "commandline/Values.h"

#include <chrono>
#include <ctime>
#include <limits>
#include <optional>
#include <string_view>

namespace Ostrel::CommandLine {

namespace {

constexpr std::int64_t minute = 60;
constexpr std::int64_t hour = 60 * minute;
constexpr std::int64_t day = 24 * hour;

/// Reads a text from left to right. What is not there is left where it is.
class MomentReader {
public:
    explicit MomentReader(std::string_view text) : rest_(text) {}

    bool atEnd() const { return rest_.empty(); }

    bool take(std::string_view word) {
        if (!rest_.starts_with(word))
            return false;
        rest_.remove_prefix(word.size());
        return true;
    }

    /// Takes a number of so many digits.
    std::optional<int> takeNumber(std::size_t fewest, std::size_t most) {
        std::size_t count = 0;
        int number = 0;
        for (; count < most && count < rest_.size() && rest_[count] >= '0' && rest_[count] <= '9'; ++count)
            number = number * 10 + (rest_[count] - '0');
        if (count < fewest)
            return std::nullopt;
        rest_.remove_prefix(count);
        return number;
    }

private:
    std::string_view rest_;
};

std::optional<std::int64_t> readUnit(MomentReader& reader) {
    if (reader.take("d"))
        return day;
    if (reader.take("h"))
        return hour;
    if (reader.take("m"))
        return minute;
    if (reader.take("s"))
        return 1;
    return std::nullopt;
}

/// Reads "2h", "1h30m".
std::optional<std::int64_t> readLength(MomentReader reader) {
    std::int64_t seconds = 0;
    do {
        const auto number = reader.takeNumber(1, 9);
        const auto unit = number ? readUnit(reader) : std::nullopt;
        if (!unit)
            return std::nullopt;
        seconds += *number * *unit;
    } while (!reader.atEnd());
    return seconds;
}

/// Reads "", "+2h", "-1h30m".
std::optional<std::int64_t> readOffset(MomentReader reader) {
    if (reader.atEnd())
        return 0;
    const bool isNegative = reader.take("-");
    if (!isNegative && !reader.take("+"))
        return std::nullopt;
    const auto seconds = readLength(reader);
    return seconds && isNegative ? -*seconds : seconds;
}

bool readClock(MomentReader& reader, std::tm& time) {
    const auto hours = reader.takeNumber(2, 2);
    if (!hours || *hours > 23 || !reader.take(":"))
        return false;
    const auto minutes = reader.takeNumber(2, 2);
    if (!minutes || *minutes > 59)
        return false;
    const bool hasSeconds = reader.take(":");
    const auto seconds = hasSeconds ? reader.takeNumber(2, 2) : 0;
    if (!seconds || *seconds > 59)
        return false;
    const bool hasFraction = hasSeconds && (reader.take(".") || reader.take(","));
    if (hasFraction && !reader.takeNumber(1, 9)) // the guide knows whole seconds
        return false;
    time.tm_hour = *hours;
    time.tm_min = *minutes;
    time.tm_sec = *seconds;
    return true;
}

/// Reads "Z", "+01:00", "-0330" or "+01": how far a clock is ahead of UTC.
std::optional<std::int64_t> readZone(MomentReader& reader) {
    if (reader.take("Z"))
        return 0;
    const bool isBehind = reader.take("-");
    if (!isBehind && !reader.take("+"))
        return std::nullopt;
    const auto hours = reader.takeNumber(2, 2);
    const bool hasMinutes = reader.take(":") || !reader.atEnd();
    const auto minutes = hasMinutes ? reader.takeNumber(2, 2) : 0;
    if (!hours || *hours > 23 || !minutes || *minutes > 59)
        return std::nullopt;
    const auto ahead = *hours * hour + *minutes * minute;
    return isBehind ? -ahead : ahead;
}

std::optional<std::int64_t> readCalendar(MomentReader reader) {
    const auto year = reader.takeNumber(4, 4);
    const bool hasMonth = year && reader.take("-");
    const auto month = hasMonth ? reader.takeNumber(2, 2) : std::nullopt;
    const bool hasDay = month && reader.take("-");
    const auto dayOfMonth = hasDay ? reader.takeNumber(2, 2) : std::nullopt;
    if (!dayOfMonth)
        return std::nullopt;
    const std::chrono::year_month_day date(std::chrono::year(*year),
                                           std::chrono::month(static_cast<unsigned>(*month)),
                                           std::chrono::day(static_cast<unsigned>(*dayOfMonth)));
    if (!date.ok())
        return std::nullopt;

    std::tm time{};
    time.tm_year = *year - 1900;
    time.tm_mon = *month - 1;
    time.tm_mday = *dayOfMonth;
    time.tm_isdst = -1;
    if (!reader.atEnd() && ((!reader.take("T") && !reader.take(" ")) || !readClock(reader, time)))
        return std::nullopt;
    if (reader.atEnd())
        return std::mktime(&time);
    const auto ahead = readZone(reader);
    if (!ahead || !reader.atEnd())
        return std::nullopt;
    return timegm(&time) - *ahead;
}

} // namespace

Moment::Moment(const std::string& text) : text_(text) {
    MomentReader reader(text);
    isRelative_ = reader.take("now") || text.starts_with('+') || text.starts_with('-');
    if (text.starts_with('@')) {
        const auto most = static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max());
        seconds_ = static_cast<std::int64_t>(readWholeNumber(text.substr(1), 0, most));
        return;
    }
    const auto seconds = isRelative_ ? readOffset(reader) : readCalendar(reader);
    if (!seconds)
        throw UsageError("\"" + text + "\" is no time; try 2011-10-12T20:00, now, +2h, -30m or @1318420800");
    seconds_ = *seconds;
}

std::uint32_t readDuration(const std::string& text) {
    const auto isNumber = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    const auto seconds = readLength(MomentReader(isNumber ? text + "s" : text));
    if (!seconds || *seconds > std::numeric_limits<std::int32_t>::max())
        throw UsageError("\"" + text + "\" is no length of time; try 10s, 1h30m or 2d");
    return static_cast<std::uint32_t>(*seconds);
}

std::int32_t Moment::getSeconds(std::int64_t now) const {
    const auto seconds = isRelative_ ? now + seconds_ : seconds_;
    if (seconds < 0 || seconds > std::numeric_limits<std::int32_t>::max())
        throw UsageError("\"" + text_ + "\" is before 1970 or after 2038-01-19");
    return static_cast<std::int32_t>(seconds);
}

} // namespace Ostrel::CommandLine
