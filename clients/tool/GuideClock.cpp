#include "clients/tool/GuideClock.h"

#include "clients/tool/Output.h"

#include <algorithm>
#include <ctime>

namespace Ostrel::Client::Tool {

namespace {

bool hasEvents(Client& client, const Query::TimeRange& range) {
    Query query;
    query.timeRange = range;
    query.sliceRange = Query::SliceRange{0, 1};
    return !client.queryEvents(query).empty();
}

} // namespace

std::string describeFarClock(Client& client, std::int64_t now) {
    constexpr std::int64_t latest = std::numeric_limits<std::int32_t>::max();
    const auto time = static_cast<std::time_t>(std::min(now, latest));
    Query::TimeRange earlier;
    Query::TimeRange later;
    earlier.limit = later.base = static_cast<std::int32_t>(time);
    const bool isAfter = !hasEvents(client, later);
    if (hasEvents(client, earlier) != isAfter)
        return "";
    std::tm local{};
    localtime_r(&time, &local);
    return "The service's clock says " + formatTime("%Y-%m-%d %H:%M", local) + ", and its whole guide is " +
           (isAfter ? "over" : "yet to come") +
           ";\nostrel-tvd --today brings the guide to the clock, --fake-time the clock to the guide.\n";
}

} // namespace Ostrel::Client::Tool
