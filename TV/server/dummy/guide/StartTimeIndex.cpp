#include "TV/server/dummy/guide/StartTimeIndex.h"
#include "TV/server/dummy/world/ChosenWorld.h"

#include <algorithm>
#include <cstring>
#include <numeric>

namespace Ostrel::TV {

void StartTimeIndex::addGuide(const World& world) {
    const bool first = rows_.empty();
    rows_.reserve(rows_.size() + world.rows.size());
    for (const std::uint32_t row : world.startOrder)
        rows_.push_back(&world.rows[row]);
    // Whoever made the world has sorted one guide; two are in order by themselves alone.
    if (!first) {
        std::stable_sort(rows_.begin(), rows_.end(), [](const epgentry* a, const epgentry* b) {
            if (compareStartTimes()(a, b) || compareStartTimes()(b, a))
                return compareStartTimes()(a, b);
            return a->ServiceId < b->ServiceId;
        });
    }
    byService_.resize(rows_.size());
    services_.clear();
    first ? takeServices(world) : sortServices();
    fillColumns();
    fillTexts(world);
}

// What is written anyway is not filled with zeros before.
template <typename Number> StartTimeIndex::Column<Number> StartTimeIndex::makeColumn() const {
    auto column = std::make_shared_for_overwrite<Number[]>(rows_.size() + blockRows);
    std::fill_n(column.get() + rows_.size(), blockRows, Number());
    return column;
}

StartTimeIndex::Columns StartTimeIndex::makeColumns() const {
    return {makeColumn<std::int32_t>(), makeColumn<std::int32_t>(), makeColumn<std::int32_t>()};
}

void StartTimeIndex::Columns::put(std::size_t position, const epgentry& row) {
    serviceIds.get()[position] = row.ServiceId;
    starts.get()[position] = row.Start;
    ends.get()[position] = row.End;
}

/// Goes service by service, since that is nearly the order in which the rows stand in memory.
void StartTimeIndex::fillColumns() {
    byStart_ = makeColumns();
    byServiceAndStart_ = makeColumns();
    titles_ = makeColumn<std::uint32_t>();
    descriptions_ = makeColumn<std::uint32_t>();
    for (std::size_t i = 0; i != byService_.size(); ++i) {
        const std::uint32_t position = byService_[i];
        const epgentry& row = *rows_[position];
        byStart_.put(position, row);
        byServiceAndStart_.put(i, row);
        titles_.get()[position] = row.Title.offset;
        descriptions_.get()[position] = row.Description.offset;
        longestEvent_ = std::max(longestEvent_, std::int64_t{row.End} - row.Start);
    }
}

void StartTimeIndex::fillTexts(const World& world) {
    std::uint32_t last = 0;
    for (std::size_t position = 0; position != rows_.size(); ++position)
        last = std::max({last, titles()[position], descriptions()[position]});
    for (const GuideRowFacts& facts : world.rowFacts)
        longestText_ = std::max<std::size_t>({longestText_, facts.title.length, facts.description.length});
    textsSize_ = last == 0 ? 0 : last + std::strlen(world.text({last})) + 1;
}

/// Orders the positions by their services as the world does, whose services stand where their rows do: each position
/// goes behind the last one of its service.
void StartTimeIndex::takeServices(const World& world) {
    const auto serviceOf = std::make_unique_for_overwrite<std::uint32_t[]>(world.rows.size());
    std::vector<std::uint32_t> next;
    for (const GuideServiceRows& service : world.services) {
        std::fill_n(serviceOf.get() + service.first, service.count, static_cast<std::uint32_t>(next.size()));
        next.push_back(service.first);
        services_.push_back({service.serviceId, service.first, service.count});
    }
    for (std::uint32_t position = 0; position != rows_.size(); ++position)
        byService_[next[serviceOf[world.startOrder[position]]]++] = position;
}

void StartTimeIndex::sortServices() {
    std::iota(byService_.begin(), byService_.end(), 0u);
    std::stable_sort(byService_.begin(), byService_.end(), [&](std::uint32_t a, std::uint32_t b) {
        return rows_[a]->ServiceId < rows_[b]->ServiceId;
    });
    for (std::size_t i = 0; i != byService_.size(); ++i) {
        const auto id = rows_[byService_[i]]->ServiceId;
        if (services_.empty() || services_.back().id != id)
            services_.push_back({id, i, 0});
        ++services_.back().count;
    }
}

std::string_view StartTimeIndex::texts() const {
    return {chosenWorld().texts.data(), textsSize_};
}

std::size_t StartTimeIndex::firstFrom(std::uint32_t start) const {
    const std::span starts(byStart_.starts.get(), rows_.size());
    const auto found = std::partition_point(starts.begin(), starts.end(), [&](std::int32_t other) {
        return static_cast<std::uint32_t>(other) < start;
    });
    return static_cast<std::size_t>(found - starts.begin());
}

std::span<const std::uint32_t> StartTimeIndex::positionsOf(std::int64_t serviceId) const {
    const auto service =
        std::lower_bound(services_.begin(), services_.end(), serviceId,
                         [](const Service& other, std::int64_t id) { return other.id < id; });
    if (service == services_.end() || service->id != serviceId)
        return {};
    return std::span(byService_).subspan(service->first, service->count);
}

} // namespace Ostrel::TV
