#include "clients/tool/TimeSpan.h"

#include "clients/tool/Output.h"

#include <algorithm>
#include <ctime>

namespace Ostrel::Client::Tool {

namespace {

std::string formatLocal(const char* format, std::int32_t seconds) {
    const std::time_t time = seconds;
    std::tm local{};
    localtime_r(&time, &local);
    return formatTime(format, local);
}

/// Returns a number for a day of the local calendar, one more for the next.
std::int64_t getDay(std::int32_t seconds) {
    constexpr std::int64_t secondsPerDay = 86400;
    const std::time_t time = seconds;
    std::tm local{};
    localtime_r(&time, &local);
    return timegm(&local) / secondsPerDay;
}

} // namespace

std::string formatSpan(const EventInfo& event) {
    auto text = formatLocal("%H:%M", event.startTime) + "-" + formatLocal("%H:%M", event.endTime);
    // What ends at midnight does not reach into the next day.
    const auto days = getDay(std::max(event.startTime, event.endTime - 1)) - getDay(event.startTime);
    return days > 0 ? text + " +" + std::to_string(days) : text;
}

std::string formatDayAndSpan(const EventInfo& event) {
    return formatLocal("%a %d %b ", event.startTime) + formatSpan(event);
}

std::string formatTimeLeft(const EventInfo& event, std::int64_t now) {
    const auto length = std::max<std::int64_t>(1, std::int64_t{event.endTime} - event.startTime);
    const auto left = std::clamp<std::int64_t>(event.endTime - now, 0, length);
    const auto minutes = (left + 59) / 60; // the last one counts until it is over
    std::string text =
        drawBar(static_cast<std::size_t>(length - left), static_cast<std::size_t>(length), 10) + " ";
    if (minutes >= 60)
        text += std::to_string(minutes / 60) + " h ";
    return text + std::to_string(minutes % 60) + " min";
}

} // namespace Ostrel::Client::Tool
