#include "TV/server/dummy/query/EventQuery.h"

#include "Ostrel/runtime/Cancellation.h"
#include "TV/server/dummy/query/Less.h"
#include "TV/server/dummy/query/QuorilQuery.h"
#include "TV/server/dummy/query/TextFilter.h"
#include "TV/server/dummy/quoril/Limits.h"

#include <algorithm>
#include <limits>
#include <span>
#include <utility>

namespace Ostrel::TV {

namespace {

/// The keys to sort by.
std::vector<std::int32_t> chooseKeys(std::int32_t service, std::int32_t start) {
    if (service >= 0 && (start < 0 || service < start))
        return start < 0 ? std::vector<std::int32_t>{Less::ServiceId}
                         : std::vector<std::int32_t>{Less::ServiceId, Less::StartTime};
    if (start >= 0 && (service < 0 || start < service))
        return service < 0 ? std::vector<std::int32_t>{Less::StartTime}
                           : std::vector<std::int32_t>{Less::StartTime, Less::ServiceId};
    // Neither is wanted, or both are wanted equally.
    // Meant so: docs/oddities.md, "Equal priorities do not sort".
    return {};
}

/// Whether an expression can hold a number.
/// Meant so: docs/oddities.md, "Minus nine".
bool canBeWritten(std::int64_t number) {
    while (number <= -10)
        number /= 10;
    return number != -9;
}

std::string makeText(const char* text) {
    return text ? text : "";
}

} // namespace

void appendEvent(VectorObject<ITVGuide::EventInfo>& events, const epgentry& row) {
    constexpr unsigned noExtra = 0;
    VectorObject<unsigned char> genres;
    // Meant so: docs/oddities.md, "A genre for every event".
    genres.push_back(static_cast<unsigned char>(row.Content));
    events.emplace_back(static_cast<unsigned>(row.ServiceId), long{row.Start}, long{row.End},
                        makeText(row.Title), makeText(row.Description), row.IsHd, noExtra, std::move(genres));
}

std::string buildQueryExpression(const ITVGuide::Query& query, unsigned mode) {
    std::string text;
    const auto add = [&](const std::string& condition) {
        if (!text.empty())
            text += " && ";
        text += condition;
    };

    const auto& ids = query.getServiceIdList();
    if (ids.size() == 1) {
        add("ServiceId == " + std::to_string(ids.front()));
    } else if (!ids.empty()) {
        std::string list;
        for (const int id : ids) {
            if (!list.empty())
                list += ", ";
            list += std::to_string(id);
        }
        add("(ServiceId in (" + list + "))");
    }

    if (mode == EndsBefore)
        add("End <= " + std::to_string(query.getTimeRange().getLimit()));
    else if (mode == EndsAfter)
        add("End > " + std::to_string(query.getTimeRange().getBase()));
    return text;
}

bool makeQueryFilter(const ITVGuide::Query& query, unsigned mode, Filter& filter) {
    const auto& ids = query.getServiceIdList();
    const bool asksTime = mode == EndsBefore || mode == EndsAfter;
    const std::int64_t time =
        mode == EndsBefore ? query.getTimeRange().getLimit() : query.getTimeRange().getBase();
    constexpr std::size_t comparison = 3; // nodes: a field, a number or a list, and what is between them
    std::size_t nodes = ids.size() > 1 ? ids.size() : 0;
    nodes += comparison * (std::size_t{!ids.empty()} + asksTime);
    nodes += std::size_t{!ids.empty() && asksTime};
    if (nodes > nodeLimit || !std::all_of(ids.begin(), ids.end(), canBeWritten) ||
        (asksTime && !canBeWritten(time)))
        return false;

    filter.clear();
    if (!ids.empty()) {
        std::vector<std::int64_t> services(ids.begin(), ids.end());
        if (services.size() == 1)
            filter.addRange(Field::ServiceId, {services.front(), services.front()});
        else
            filter.addAmong(Field::ServiceId, services);
        filter.restrictTo(std::move(services));
    }
    if (asksTime) {
        Filter::Range ends;
        if (mode == EndsBefore)
            ends.high = time;
        else
            ends.low = time + 1;
        filter.addRange(Field::End, ends);
        filter.restrictTo(Filter::Range(), ends);
    }
    if (!ids.empty() && asksTime)
        filter.addAnd();
    return true;
}

EventQuery::EventQuery(const Guide& guide, const ITVGuide::Query& query)
    : guide_(guide), query_(query),
      keys_(chooseKeys(query.getOrderByServiceIdPriority(), query.getOrderByStartTimePriority())) {
    for (const unsigned char genre : query.getGenreList())
        genres_.set(genre);
}

/// Which of the events that come along are wanted, and when no more are.
///
/// Events that come in their order are sliced while they come: base and limit are positions. An
/// order that is made afterwards cuts the end first, and then the start only if that leaves any.
/// Meant so: docs/oddities.md, "Two ways to slice".
class EventQuery::Slice {
public:
    Slice(const ITVGuide::Query::SliceRange& range, bool sorts)
        : base_(range.getValid() ? range.getBase() : 0),
          limit_(range.getValid() ? range.getLimit() : std::numeric_limits<std::size_t>::max()),
          sorts_(sorts) {}

    bool isFull() const { return seen_ >= limit_; }

    /// Counts the next event.
    bool wants() { return seen_++ >= base_ || sorts_; }

    void cut(std::vector<std::uint32_t>& positions) const {
        if (sorts_ && base_ < positions.size())
            positions.erase(positions.begin(), positions.begin() + static_cast<std::ptrdiff_t>(base_));
    }

private:
    const std::size_t base_;
    const std::size_t limit_; ///< the position behind the last one
    const bool sorts_;
    std::size_t seen_ = 0;
};

bool EventQuery::run(VectorObject<ITVGuide::EventInfo>& events) {
    constexpr unsigned fewRows = 1024;
    constexpr unsigned noLimit = std::numeric_limits<unsigned>::max();
    const auto& range = query_.getTimeRange();
    const bool strict = range.getValid() && range.getStrict();
    const unsigned mode = !range.getValid() ? AnyTime : strict ? EndsBefore : EndsAfter;

    const StartTimeIndex& index = guide_.index();
    Filter filter;
    if (!makeQueryFilter(query_, mode, filter))
        return false;
    QuorilQuery rows(guide_);
    rows.init(filter, strict ? static_cast<unsigned>(range.getBase()) : 0,
              range.getValid() ? static_cast<unsigned>(range.getLimit()) : noLimit);

    const bool sorts = keys_.size() > 1 || (keys_.size() == 1 && keys_.front() != Less::StartTime);
    const bool sliced = query_.getSliceRange().getValid();
    const bool anyGenre = query_.getGenreList().empty();
    const TextFilter texts(index, query_);
    const auto narrow = [&] {
        rows.narrow([&](std::span<std::uint64_t> bits, std::size_t first) { texts.narrow(bits, first); });
    };
    // A slice may be full after a few rows, however many there are: they are looked into one by one
    // before all are. Without one all are looked into.
    unsigned looks = sliced ? fewRows : 0;
    if (looks == 0)
        narrow();
    Slice slice(query_.getSliceRange(), sorts);
    std::vector<std::uint32_t> positions;
    positions.reserve(sliced ? 0 : rows.count());
    const auto consider = [&](std::uint32_t position) {
        const bool passes = looks == 0 || texts.passes(position);
        if (looks != 0 && --looks == 0)
            narrow();
        if (passes && (anyGenre || hasGenre(*index[position])) && slice.wants())
            positions.push_back(position);
    };

    // Where many come, or from few services, or only the first ones are wanted, they are taken in their order.
    const bool byService = sorts && keys_.front() == Less::ServiceId &&
                           (sliced || rows.namesServices() || rows.count() > fewRows);
    if (byService) {
        for (const auto service : rows.byService()) {
            for (const std::uint32_t position : service) {
                if (slice.isFull())
                    break;
                if (rows.matches(position))
                    consider(position);
            }
        }
    } else {
        while (!slice.isFull()) {
            const auto position = rows.nextPosition();
            if (!position)
                break;
            consider(*position);
        }
    }
    slice.cut(positions);

    constexpr std::size_t someEvents = 256;
    if (positions.size() > someEvents)
        Cancellation::check();
    events.reserve(positions.size());
    for (const std::uint32_t position : positions) {
        if (events.size() % someEvents == someEvents - 1)
            Cancellation::check();
        appendEvent(events, *index[position]);
    }
    if (sorts && !byService)
        sortEvents(events, Less(keys_));
    return true;
}

// Of a code above 255 the event shows less than is compared here.
// Meant so: docs/oddities.md, "Genres are compared whole".
bool EventQuery::hasGenre(const epgentry& row) const {
    const auto code = static_cast<std::uint32_t>(row.Content);
    return code < genres_.size() && genres_[code];
}

} // namespace Ostrel::TV
