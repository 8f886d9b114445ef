#include "world/XmltvTime.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdio>
#include <cstdlib>

namespace Ostrel::TV::Tool {

namespace {

constexpr int minute = 60, hour = 60 * minute;

struct NamedZone {
    std::string_view name;
    int offset;
};

// Names that stand for two offsets, such as IST, are missing.
constexpr NamedZone zones[] = {
    {"UTC", 0},
    {"GMT", 0},
    {"Z", 0},
    {"UT", 0},
    {"WET", 0},
    {"BST", hour},
    {"WEST", hour},
    {"CET", hour},
    {"MET", hour},
    {"CEST", 2 * hour},
    {"MEST", 2 * hour},
    {"EET", 2 * hour},
    {"SAST", 2 * hour},
    {"EEST", 3 * hour},
    {"MSK", 3 * hour},
    {"NST", -7 * hour / 2},
    {"AST", -4 * hour},
    {"ADT", -3 * hour},
    {"EST", -5 * hour},
    {"EDT", -4 * hour},
    {"CST", -6 * hour},
    {"CDT", -5 * hour},
    {"MST", -7 * hour},
    {"MDT", -6 * hour},
    {"PST", -8 * hour},
    {"PDT", -7 * hour},
    {"AKST", -9 * hour},
    {"AKDT", -8 * hour},
    {"HST", -10 * hour},
    {"JST", 9 * hour},
    {"KST", 9 * hour},
    {"AWST", 8 * hour},
    {"ACST", 19 * hour / 2},
    {"ACDT", 21 * hour / 2},
    {"AEST", 10 * hour},
    {"AEDT", 11 * hour},
    {"NZST", 12 * hour},
    {"NZDT", 13 * hour},
};

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

int number(std::string_view digits) {
    int value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value;
}

/// "+0100", "-03:30", "+01".
std::optional<int> readOffset(std::string_view text) {
    std::string digits;
    for (const char c : text.substr(1))
        if (isDigit(c))
            digits += c;
        else if (c != ':' || digits.size() != 2)
            return std::nullopt;
    if (digits.size() != 2 && digits.size() != 4)
        return std::nullopt;
    digits.resize(4, '0');
    const int hours = number(std::string_view(digits).substr(0, 2)),
              minutes = number(std::string_view(digits).substr(2));
    if (hours > 15 || minutes > 59)
        return std::nullopt;
    const int seconds = hours * hour + minutes * minute;
    return text.front() == '-' ? -seconds : seconds;
}

std::optional<int> readZone(std::string_view text) {
    if (text.front() == '+' || text.front() == '-')
        return readOffset(text);
    for (const NamedZone& zone : zones)
        if (zone.name == text)
            return zone.offset;
    return std::nullopt;
}

} // namespace

std::optional<XmltvTime> readXmltvTime(std::string_view text) {
    using namespace std::chrono;
    std::size_t length = 0;
    while (length < text.size() && isDigit(text[length]))
        ++length;
    if (length != 8 && length != 10 && length != 12 && length != 14)
        return std::nullopt;
    const auto two = [&](std::size_t at) { return at < length ? number(text.substr(at, 2)) : 0; };
    const year_month_day date{year{number(text.substr(0, 4))}, month{static_cast<unsigned>(two(4))},
                              day{static_cast<unsigned>(two(6))}};
    if (!date.ok() || two(8) > 23 || two(10) > 59 || two(12) > 60)
        return std::nullopt;
    XmltvTime time;
    time.seconds = sys_seconds{sys_days{date}}.time_since_epoch().count() + std::int64_t{two(8)} * hour +
                   std::int64_t{two(10)} * minute + two(12);
    text.remove_prefix(length);
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    if (text.empty())
        return time;
    time.offset = readZone(text);
    return time.offset ? std::optional(time) : std::nullopt;
}

std::string formatXmltvTime(std::int64_t seconds, int offset) {
    using namespace std::chrono;
    const sys_seconds local{std::chrono::seconds{seconds + offset}};
    const auto midnight = floor<days>(local);
    const year_month_day date{midnight};
    const hh_mm_ss time{local - midnight};
    const int minutes = std::abs(offset) / minute;
    char text[64];
    std::snprintf(text, sizeof text, "%04d%02u%02u%02d%02d%02d %c%02d%02d", static_cast<int>(date.year()),
                  static_cast<unsigned>(date.month()), static_cast<unsigned>(date.day()),
                  static_cast<int>(time.hours().count()), static_cast<int>(time.minutes().count()),
                  static_cast<int>(time.seconds().count()), offset < 0 ? '-' : '+', minutes / 60,
                  minutes % 60);
    return text;
}

int offsetAt(std::span<const ZoneOffset> zone, std::int64_t utc) {
    int offset = zone.front().seconds;
    for (const ZoneOffset& next : zone)
        if (next.from <= utc)
            offset = next.seconds;
    return offset;
}

std::int64_t localToUtc(std::span<const ZoneOffset> zone, std::int64_t local) {
    // The first offset that holds at the moment that it makes of the time. Where clocks were put forward none
    // does, and the one from before is meant.
    std::size_t i = 0;
    while (i + 1 < zone.size() && local - zone[i].seconds >= zone[i + 1].from)
        ++i;
    const bool isMissing = i != 0 && local - zone[i].seconds < zone[i].from;
    return local - zone[isMissing ? i - 1 : i].seconds;
}

} // namespace Ostrel::TV::Tool
