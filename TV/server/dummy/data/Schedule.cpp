#include "TV/server/dummy/data/Schedule.h"

#include <algorithm>
#include <filesystem>
#include <tuple>

namespace Ostrel::TV {

namespace {

constexpr std::int64_t day = 86400;
constexpr std::int64_t firstMidnight = 1318287600; // Tuesday 11 October 2011 in London
constexpr int broadcastDays = 10; // the last one only ends the one before
constexpr int firstWeekday = 1; // Tuesday

} // namespace

/// Lays one service out.
class Schedule::Layout {
public:
    Layout(Schedule& schedule, const std::string& slug)
        : schedule_(schedule), slug_(slug), catalogue_(schedule.catalogues_.at(slug)),
          spanStart_(schedule.ledLater_.count(slug) == 0 ? firstStart : firstStart - 3600) {}

    void run() {
        placeSlots();
        for (Placed& placed : slots_)
            if (inSpan(placed.start))
                want(placed);
        for (Placed& placed : slots_)
            if (placed.wanted)
                fill(placed);
        remarkOnPools();
    }

private:
    struct Placed {
        std::int64_t start, end;
        const Slot* slot;
        bool wanted;
        const Programme* programme;
        std::size_t episode;
        std::string origin;
    };

    bool inSpan(std::int64_t start) const { return start >= spanStart_ && start <= lastStart; }

    void placeSlots() {
        for (int number = 0; number != broadcastDays; ++number) {
            const auto& slots = catalogue_.days[static_cast<std::size_t>((firstWeekday + number) % 7)];
            const int first = slots.front().minute;
            for (const Slot& slot : slots) {
                const std::int64_t minute = slot.minute + (slot.minute < first ? 24 * 60 : 0);
                slots_.push_back(
                    {firstMidnight + number * day + minute * 60, 0, &slot, false, nullptr, 0, slug_});
            }
        }
        for (std::size_t i = 0; i + 1 != slots_.size(); ++i)
            slots_[i].end = slots_[i + 1].start;
        slots_.back().end = slots_.back().start;
    }

    /// Marks a slot for filling, and first what it repeats.
    void want(Placed& placed) {
        placed.wanted = true;
        if (placed.slot->source == Slot::Source::Again)
            if (Placed* source = repeated(placed); source != nullptr && !source->wanted)
                want(*source);
    }

    /// What an `again` slot repeats: the latest slot before it that started at that time.
    Placed* repeated(const Placed& again) {
        Placed* found = nullptr;
        for (Placed& placed : slots_) {
            if (placed.start >= again.start)
                break;
            if (placed.slot->minute == again.slot->againMinute)
                found = &placed;
        }
        // In the first night there may be nothing yet; what comes later at that time stands in.
        if (found == nullptr)
            for (Placed& placed : slots_)
                if (placed.start > again.start && placed.slot->minute == again.slot->againMinute &&
                    placed.slot->source == Slot::Source::Pool)
                    return &placed;
        if (found == nullptr || found->slot->source != Slot::Source::Pool)
            again.slot->line.fail("what it repeats is not a slot with a pool");
        return found;
    }

    void fill(Placed& placed) {
        switch (placed.slot->source) {
        case Slot::Source::Closed:
            break;
        case Slot::Source::Pool:
            if (placed.programme == nullptr)
                draw(placed);
            show(placed.start, placed.end, placed.programme, placed.episode, placed.origin);
            break;
        case Slot::Source::Again: {
            Placed* source = repeated(placed);
            if (source->programme == nullptr)
                draw(*source);
            show(placed.start, placed.end, source->programme, source->episode, source->origin);
            break;
        }
        case Slot::Source::With:
            join(placed);
            break;
        }
    }

    /// Takes the pool's next episode: of those shown least often the first in the order of the deal.
    void draw(Placed& placed) {
        const std::string& pool = placed.slot->name;
        auto dealt = dealt_.find(pool);
        if (dealt == dealt_.end())
            dealt = dealt_.emplace(pool, catalogue_.deal(pool)).first;

        auto& use = schedule_.pools_[slug_][pool];
        use.episodes = dealt->second.size();
        if (++use.slots == 1)
            use.line = placed.slot->line;
        const auto least =
            std::min_element(dealt->second.begin(), dealt->second.end(),
                             [&](const auto& a, const auto& b) { return shown_[a] < shown_[b]; });
        ++shown_[*least];
        placed.programme = least->first;
        placed.episode = least->second;
    }

    void join(const Placed& placed) {
        schedule_.layOut(placed.slot->name);
        for (const Showing& other : schedule_.laidOut_.at(placed.slot->name)) {
            const auto start = std::max(other.start, placed.start);
            const auto end = std::min(other.end, placed.end);
            if (start >= end)
                continue;
            if (start != other.start || end != other.end)
                remark(placed.slot->line, placed.slot->name + " is cut to fit at " +
                                              formatTime(start + londonOffset).substr(0, 16));
            show(start, end, other.programme, other.episode, other.origin);
        }
    }

    void remark(const TextLine& line, const std::string& text) {
        schedule_.remarks_[slug_].push_back(line.place() + ": " + text);
    }

    /// Tells what the pools leave out, and which of them had to begin again.
    void remarkOnPools() {
        for (const Programme& programme : catalogue_.programmes)
            for (std::size_t episode = 0; episode != programme.episodes.size(); ++episode)
                if (shown_[{&programme, episode}] == 0)
                    remark(programme.episodes[episode],
                           "not on: more episodes than slots in pool " + programme.manner.fields()[1]);
        for (const auto& [name, use] : schedule_.pools_[slug_])
            if (use.episodes < use.slots)
                remark(use.line, "pool " + name + " begins again: " + std::to_string(use.slots) +
                                     " slots, episodes: " + std::to_string(use.episodes));
    }

    void show(std::int64_t start, std::int64_t end, const Programme* programme, std::size_t episode,
              const std::string& origin) {
        if (inSpan(start))
            schedule_.laidOut_[slug_].push_back({start, end, programme, episode, origin});
    }

    Schedule& schedule_;
    const std::string slug_;
    const Catalogue& catalogue_;
    const std::int64_t spanStart_; ///< who is followed an hour later needs the hour before the guide
    std::vector<Placed> slots_;
    std::map<std::string, std::vector<std::pair<const Programme*, std::size_t>>> dealt_;
    std::map<std::pair<const Programme*, std::size_t>, unsigned> shown_;
};

template <class Step> void Schedule::attempt(const std::string& slug, bool partial, Step step) {
    try {
        step();
    } catch (const TextFileError& error) {
        if (!partial)
            throw;
        underWay_.clear();
        remarks_[slug].push_back(error.what());
    }
}

Schedule::Schedule(const std::vector<Service>& services, const std::string& catalogueDirectory,
                   bool partial) {
    for (const Service& service : services) {
        if (service.follows == Service::Follows::OneHourLater)
            ledLater_.insert(service.leader);
        const std::string path = catalogueDirectory + "/" + service.slug + ".txt";
        if (service.follows != Service::Follows::Nobody || (partial && !std::filesystem::exists(path)))
            continue;
        attempt(service.slug, partial, [&] { catalogues_[service.slug] = readCatalogue(path); });
    }
    for (const auto& entry : catalogues_)
        attempt(entry.first, partial, [&] { layOut(entry.first); });
}

void Schedule::layOut(const std::string& slug) {
    if (std::find(underWay_.begin(), underWay_.end(), slug) != underWay_.end())
        throw TextFileError("catalogue:0: " + slug + " goes with itself");
    if (laidOut_.count(slug) != 0)
        return;
    if (catalogues_.count(slug) == 0)
        throw TextFileError("catalogue:0: there is no " + slug);
    laidOut_[slug]; // stays empty when nothing is on
    underWay_.push_back(slug);
    Layout(*this, slug).run();
    underWay_.pop_back();
}

std::vector<Showing> Schedule::showings(const Service& service) const {
    const bool follows = service.follows != Service::Follows::Nobody;
    const auto found = laidOut_.find(follows ? service.leader : service.slug);
    std::vector<Showing> result;
    if (found == laidOut_.end())
        return result;
    const std::int64_t delay = service.follows == Service::Follows::OneHourLater ? 3600 : 0;
    for (Showing showing : found->second) {
        showing.start += delay;
        showing.end += delay;
        if (showing.start >= firstStart && showing.start <= lastStart)
            result.push_back(showing);
    }
    return result;
}

const std::map<std::string, PoolUse>& Schedule::pools(const std::string& slug) const {
    static const std::map<std::string, PoolUse> none;
    const auto found = pools_.find(slug);
    return found == pools_.end() ? none : found->second;
}

const std::vector<std::string>& Schedule::remarks(const std::string& slug) const {
    static const std::vector<std::string> none;
    const auto found = remarks_.find(slug);
    return found == remarks_.end() ? none : found->second;
}

} // namespace Ostrel::TV
