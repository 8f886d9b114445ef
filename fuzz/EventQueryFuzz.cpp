// Any payload of an event query: it is decoded or refused, and what is decoded finds the events that a plain
// walk over all rows finds, in the order and the slice that were asked for.

#include "Ostrel/serialization/DecodeError.h"
#include "TV/server/dummy/query/EventQuery.h"
#include "fuzz/FewEvents.h"
#include "fuzz/Require.h"

#include <algorithm>
#include <optional>
#include <string>
#include <vector>

using namespace Ostrel;
using namespace Ostrel::Fuzz;
using namespace Ostrel::TV;

namespace {

using Query = ITVGuide::Query;
using Rows = std::vector<const epgentry*>;

/// The words in which the language has no way to say a negative number that begins with 9.
bool canBeSaid(std::int64_t number) {
    return std::to_string(number).rfind("-9", 0) != 0;
}

/// Whether services and times make an expression of at most 20 nodes.
bool makesExpression(const Query& query) {
    const auto& ids = query.getServiceIdList();
    const auto& range = query.getTimeRange();
    std::size_t nodes = 0;
    if (!ids.empty())
        nodes = ids.size() == 1 ? 3 : 3 + ids.size();
    if (range.getValid())
        nodes += nodes == 0 ? 3 : 4;
    const auto bound = range.getStrict() ? range.getLimit() : range.getBase();
    return nodes <= 20 && std::all_of(ids.begin(), ids.end(), canBeSaid) &&
           (!range.getValid() || canBeSaid(bound));
}

bool isIn(const Query::TimeRange& range, const epgentry& row) {
    // Starts are compared without a sign.
    const auto start = static_cast<std::uint32_t>(row.Start);
    if (!range.getValid())
        return start < 4294967295u;
    if (start >= static_cast<std::uint32_t>(range.getLimit()))
        return false;
    if (!range.getStrict())
        return row.End > range.getBase();
    return start >= static_cast<std::uint32_t>(range.getBase()) && row.End <= range.getLimit();
}

bool holds(const char* text, const std::string& wanted) {
    return text != nullptr && std::string(text).find(wanted) != std::string::npos;
}

bool hasTexts(const Query& query, const epgentry& row) {
    std::size_t found = 0;
    for (const std::string& text : query.getStringList())
        if (holds(row.Title, text) || (query.getStringMatchDescription() && holds(row.Description, text)))
            ++found;
    return found >= (query.getStringAnd() ? query.getStringList().size() : 1);
}

bool passes(const Query& query, const epgentry& row) {
    const auto& ids = query.getServiceIdList();
    if (!ids.empty() && std::find(ids.begin(), ids.end(), row.ServiceId) == ids.end())
        return false;
    const auto& genres = query.getGenreList();
    if (!genres.empty() && std::find(genres.begin(), genres.end(), row.Content) == genres.end())
        return false;
    if (!query.getStringList().empty() && !hasTexts(query, row))
        return false;
    return isIn(query.getTimeRange(), row);
}

/// The events of a query; nothing when it is refused.
std::optional<Rows> findPlainly(const StartTimeIndex& index, const Query& query) {
    if (!makesExpression(query))
        return std::nullopt;
    Rows rows;
    for (std::size_t position = 0; position != index.size(); ++position)
        if (passes(query, *index[position]))
            rows.push_back(index[position]);

    const std::int64_t service = query.getOrderByServiceIdPriority();
    const std::int64_t start = query.getOrderByStartTimePriority();
    const bool byService = service >= 0 && service != start;
    const bool serviceFirst = byService && (start < 0 || service < start);
    // They come by start: that key can only break ties, or be broken by the service.
    if (byService)
        std::stable_sort(rows.begin(), rows.end(), [&](const epgentry* a, const epgentry* b) {
            return serviceFirst || a->Start == b->Start ? a->ServiceId < b->ServiceId : a->Start < b->Start;
        });

    const auto& slice = query.getSliceRange();
    if (slice.getValid()) {
        rows.resize(std::min<std::size_t>(rows.size(), slice.getLimit()));
        // What has been sorted is not cut to nothing.
        const bool keepsAll = byService && slice.getBase() >= rows.size();
        const auto cut = keepsAll ? 0 : std::min<std::size_t>(rows.size(), slice.getBase());
        rows.erase(rows.begin(), rows.begin() + static_cast<std::ptrdiff_t>(cut));
    }
    return rows;
}

void compare(const ITVGuide::EventInfo& event, const epgentry& row) {
    require(event.getServiceId() == static_cast<std::uint32_t>(row.ServiceId));
    require(event.getStartTime() == row.Start);
    require(event.getEndTime() == row.End);
    require(event.getTitle() == (row.Title ? std::string(row.Title) : ""));
    require(event.getDescription() == (row.Description ? std::string(row.Description) : ""));
    require(event.getHighDefinition() == row.IsHd);
    require(event.getExtra() == 0);
    require(event.getGenres().size() == 1);
    require(event.getGenres()[0] == static_cast<unsigned char>(row.Content & 0xFF));
}

std::optional<Query> read(std::string text) {
    try {
        Deserializer payload(std::move(text));
        return deserialize<Query>("query", payload);
    } catch (const DecodeError&) {
        return std::nullopt;
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    // More than are looked into one by one before the query tries to do better.
    static const Guide& guide = fewEvents(300);
    const auto query = read(std::string(reinterpret_cast<const char*>(data), size));
    if (!query)
        return 0;
    const auto wanted = findPlainly(guide.index(), *query);
    VectorObject<ITVGuide::EventInfo> events;
    require(EventQuery(guide, *query).run(events) == wanted.has_value());
    if (!wanted)
        return 0;
    require(events.size() == wanted->size());
    for (std::size_t i = 0; i != events.size(); ++i)
        compare(events[i], *(*wanted)[i]);
    return 0;
}
