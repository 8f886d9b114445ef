#include "TV/server/dummy/guide/TodayWorld.h"

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>

namespace Ostrel::TV {

namespace {

constexpr std::int64_t day = 86400;
constexpr std::int32_t week = 7;

constexpr std::int64_t divideDown(std::int64_t number, std::int64_t by) {
    return number / by - (number % by < 0 ? 1 : 0);
}
constexpr std::int64_t remainder(std::int64_t number, std::int64_t by) {
    return number - divideDown(number, by) * by;
}

/// The most events, in the order of their starts, between which no week is empty: one that strayed in from
/// another year must not make a guide of empty days.
std::span<const std::uint32_t> findMost(const World& world) {
    const auto& order = world.startOrder;
    std::span<const std::uint32_t> most;
    std::size_t first = 0;
    for (std::size_t i = 1; i <= order.size(); ++i)
        if (i == order.size() ||
            std::int64_t{world.rows[order[i]].Start} - world.rows[order[i - 1]].Start > week * day) {
            if (i - first > most.size())
                most = order.subspan(first, i - first);
            first = i;
        }
    return most;
}

} // namespace

RepeatedDays::RepeatedDays(const World& world) : clock_(world.zoneOffsets) {
    if (world.rows.empty())
        return;
    const auto events = findMost(world);
    const std::int64_t latestStart = world.rows[events.back()].Start;
    std::int64_t latestEnd = 0;
    for (const std::uint32_t event : events)
        latestEnd = std::max<std::int64_t>(latestEnd, world.rows[event].End);
    begin_ = toLocal(world.rows[events.front()].Start);
    const std::int64_t end = toLocal(std::min(latestEnd, latestStart + week * day));
    count_ = static_cast<std::int32_t>(std::max<std::int64_t>(1, (end - begin_ + day / 2) / day));
    if (count_ > week)
        count_ -= count_ % week;
    const std::int64_t midnight = divideDown(begin_, day) * day, next = midnight + day;
    if (begin_ != midnight && next + count_ * day <= end)
        begin_ = next;
    else if (midnight + count_ * day >= end)
        begin_ = midnight;
}

std::int64_t RepeatedDays::find(std::int64_t local) const {
    return divideDown(local - begin_, day);
}

std::int32_t RepeatedDays::laidOn(std::int64_t number) const {
    const auto behindFirst = number - divideDown(begin_, day);
    return static_cast<std::int32_t>(remainder(behindFirst, std::max(count_, week)) % count_);
}

std::int64_t RepeatedDays::dayAt(std::int64_t local) const {
    return divideDown(local - remainder(begin_, day), day);
}

std::int64_t RepeatedDays::beginOf(std::int64_t number) const {
    return number * day + remainder(begin_, day);
}

/// Lays the days of one window.
class TodayWorld::Laying {
public:
    Laying(TodayWorld& to, const World& source, const RepeatedDays& days, Window window)
        : to_(to), source_(source), days_(days), window_(window), viewer_(to.offsets_) {}

    void run() {
        readEvents();
        to_.rows_.reserve(countRows() + 1);
        auto events = events_.begin();
        for (const GuideServiceRows& service : source_.services) {
            layService({events, service.count}, service.serviceId);
            events += service.count;
        }
        link();
        for (const Origin& origin : origins_)
            to_.rowFacts_.push_back(source_.rowFacts[origin.row]);
        order();
        to_.rows_.push_back({}); // the row that ends the table
    }

private:
    /// An event of the source.
    struct Event {
        std::uint32_t row;
        std::int32_t day; ///< the repeated one that it starts in; outside it is -1 or their count
        std::uint32_t number; ///< within that day
        bool follows; ///< nothing is between the event before it and this one
    };

    /// Where a laid row comes from.
    struct Origin {
        std::uint32_t row;
        std::int64_t day; ///< that it is laid on
    };

    /// An event that others link to.
    struct Target {
        std::uint32_t programme;
        const Event* event;
    };

    /// Puts each service's events in order, and numbers those of each day.
    void readEvents() {
        numbers_.assign(static_cast<std::size_t>(days_.count()), 0);
        events_.reserve(source_.rows.size());
        std::vector<std::uint32_t> order;
        for (const GuideServiceRows& service : source_.services) {
            order.resize(service.count);
            for (std::uint32_t i = 0; i != service.count; ++i)
                order[i] = service.first + i;
            std::sort(order.begin(), order.end(), [&](std::uint32_t a, std::uint32_t b) {
                return source_.rows[a].Start < source_.rows[b].Start;
            });
            const epgentry* before = nullptr;
            std::int64_t latest = -1;
            for (const std::uint32_t number : order) {
                const epgentry& row = source_.rows[number];
                // Local time may step back.
                latest =
                    std::clamp<std::int64_t>(days_.find(days_.toLocal(row.Start)), latest, days_.count());
                const auto dayOfIt = static_cast<std::int32_t>(latest);
                events_.push_back({number, dayOfIt, isRepeated(dayOfIt) ? numbers_[index(dayOfIt)]++ : 0,
                                   before != nullptr && before->End == row.Start});
                before = &row;
            }
        }
        mostOfADay_ = std::max(1u, *std::max_element(numbers_.begin(), numbers_.end()));
    }

    bool isRepeated(std::int32_t number) const { return number >= 0 && number < days_.count(); }
    static std::size_t index(std::int64_t number) { return static_cast<std::size_t>(number); }

    /// How many rows there are at most.
    std::size_t countRows() const {
        std::size_t rows = source_.services.size(); // of the day behind the window
        for (auto number = window_.first; number <= window_.last; ++number)
            rows += numbers_[index(days_.laidOn(number))];
        return rows;
    }

    void layService(std::span<const Event> events, std::int32_t serviceId) {
        const auto first = to_.rows_.size();
        last_ = nullptr;
        // Of the day behind the window the first event is laid, since it says how the last one of the
        // window ends.
        for (auto number = window_.first; number <= window_.last + 1; ++number) {
            const auto repeated = days_.laidOn(number);
            const auto isBefore = [](const Event& event, std::int32_t other) { return event.day < other; };
            const auto from = std::lower_bound(events.begin(), events.end(), repeated, isBefore);
            const auto to = std::lower_bound(from, events.end(), repeated + 1, isBefore);
            for (const Event& event : std::span(from, to)) {
                lay(event, number, first, events);
                if (number > window_.last)
                    break;
            }
        }
        while (to_.rows_.size() != first && origins_.back().day > window_.last)
            drop();
        const auto count = to_.rows_.size() - first;
        if (count != 0)
            to_.services_.push_back(
                {serviceId, static_cast<std::uint32_t>(first), static_cast<std::uint32_t>(count)});
    }

    /// Lays an event behind those of its service, whose rows begin at the first.
    void lay(const Event& event, std::int64_t number, std::size_t first, std::span<const Event> events) {
        const epgentry& row = source_.rows[event.row];
        const auto shift = days_.beginOf(number) - (days_.begin() + event.day * day);
        auto start = viewer_.toUtc(days_.toLocal(row.Start) + shift);
        const auto end = viewer_.toUtc(days_.toLocal(row.End) + shift);

        const Event* const before = std::exchange(last_, &event);
        const auto isLaid = [&] { return to_.rows_.size() != first; };
        if (start < 1 || std::max(start, end) > std::numeric_limits<std::int32_t>::max())
            return;
        if (isLaid() && before + 1 == &event) { // as in the source
            start = std::max<std::int64_t>(start, to_.rows_.back().End);
        } else {
            while (isLaid() && to_.rows_.back().Start >= start)
                drop();
            const auto isFollowed = [&] {
                return before + 1 != events.data() + events.size() && before[1].follows;
            };
            if (isLaid() && (to_.rows_.back().End > start || (event.follows && isFollowed())))
                to_.rows_.back().End = static_cast<std::int32_t>(start);
        }
        if (end <= start)
            return;
        epgentry& laid = to_.rows_.emplace_back(row);
        origins_.push_back({event.row, number});
        laid.Start = static_cast<std::int32_t>(start);
        laid.End = static_cast<std::int32_t>(end);
        laid.ProgId = identify(number, event.number);
    }

    void drop() {
        to_.rows_.pop_back();
        origins_.pop_back();
    }

    /// From 1 to 2147483647; never the same twice in a window, unless it has more events than that.
    std::uint32_t identify(std::int64_t number, std::uint32_t ofDay) const {
        constexpr std::int64_t all = std::numeric_limits<std::int32_t>::max();
        return static_cast<std::uint32_t>(remainder(number * mostOfADay_ + ofDay, all) + 1);
    }

    /// Leads the links to the events of the same days.
    void link() {
        const auto targets = findTargets();
        std::vector<bool> isLaid(index(window_.last - window_.first + 1) * mostOfADay_);
        std::vector<const Event*> byRow;
        byRow.reserve(targets.size());
        for (const Target& target : targets)
            byRow.push_back(target.event);
        std::sort(byRow.begin(), byRow.end(), [](const Event* a, const Event* b) { return a->row < b->row; });
        const auto place = [&](std::int64_t number, std::uint32_t ofDay) {
            return index(number - window_.first) * mostOfADay_ + ofDay;
        };
        for (const Origin& origin : origins_) {
            const auto found =
                std::lower_bound(byRow.begin(), byRow.end(), origin.row,
                                 [](const Event* event, std::uint32_t row) { return event->row < row; });
            if (found != byRow.end() && (*found)->row == origin.row)
                isLaid[place(origin.day, (*found)->number)] = true;
        }
        const auto lead = [&](const Origin& origin, std::uint32_t programme) -> std::uint32_t {
            const auto found = std::lower_bound(
                targets.begin(), targets.end(), programme,
                [](const Target& target, std::uint32_t id) { return target.programme < id; });
            if (found == targets.end() || found->programme != programme)
                return 0;
            const Event& event = *found->event;
            const auto number = origin.day + event.day - days_.laidOn(origin.day);
            if (number < window_.first || number > window_.last || days_.laidOn(number) != event.day ||
                !isLaid[place(number, event.number)])
                return 0;
            return identify(number, event.number);
        };
        for (std::size_t i = 0; i != origins_.size(); ++i) {
            epgentry& row = to_.rows_[i];
            if (row.LinkedHdProgs != 0)
                row.LinkedHdProgs = lead(origins_[i], row.LinkedHdProgs);
            if (row.LinkedHdSimulcastProgs != 0)
                row.LinkedHdSimulcastProgs = lead(origins_[i], row.LinkedHdSimulcastProgs);
        }
    }

    /// The repeated events that others link to, ascending by their programmes.
    std::vector<Target> findTargets() const {
        std::vector<std::uint32_t> wanted;
        for (const epgentry& row : source_.rows)
            for (const auto programme : {row.LinkedHdProgs, row.LinkedHdSimulcastProgs})
                if (programme != 0)
                    wanted.push_back(programme);
        std::sort(wanted.begin(), wanted.end());
        std::vector<Target> targets;
        for (const Event& event : events_) {
            const auto programme = source_.rows[event.row].ProgId;
            if (isRepeated(event.day) && std::binary_search(wanted.begin(), wanted.end(), programme))
                targets.push_back({programme, &event});
        }
        std::sort(targets.begin(), targets.end(),
                  [](const Target& a, const Target& b) { return a.programme < b.programme; });
        return targets;
    }

    /// Fills the order of starts. None is before 1970.
    void order() {
        std::vector<std::uint64_t> keys;
        keys.reserve(to_.rows_.size());
        for (std::size_t i = 0; i != to_.rows_.size(); ++i)
            keys.push_back(static_cast<std::uint64_t>(to_.rows_[i].Start) << 32 | i);
        std::sort(keys.begin(), keys.end());
        to_.startOrder_.reserve(keys.size());
        for (const std::uint64_t key : keys)
            to_.startOrder_.push_back(static_cast<std::uint32_t>(key));
    }

    TodayWorld& to_;
    const World& source_;
    const RepeatedDays& days_;
    const Window window_;
    const ZoneClock viewer_;
    std::vector<Event> events_; ///< service by service, those of one in the order of time
    std::vector<std::uint32_t> numbers_; ///< of events, by repeated day
    std::uint32_t mostOfADay_ = 1;
    std::vector<Origin> origins_; ///< of the rows
    const Event* last_ = nullptr; ///< of the service, that was to be laid last
};

TodayWorld::TodayWorld(const World& source, const RepeatedDays& days, Window window, const std::string& zone,
                       std::vector<ZoneOffset> offsets)
    : zone_(zone), offsets_(std::move(offsets)), world_(source) {
    Laying(*this, source, days, window).run();
    world_.timeZone = zone_;
    world_.rows = std::span(rows_).first(rows_.size() - 1);
    world_.rowFacts = rowFacts_;
    world_.startOrder = startOrder_;
    world_.services = services_;
    world_.zoneOffsets = offsets_;
}

} // namespace Ostrel::TV
