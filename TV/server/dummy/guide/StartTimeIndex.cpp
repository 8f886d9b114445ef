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
    fillColumns();
    fillTexts(world);
    fillServices();
}

void StartTimeIndex::fillColumns() {
    const auto fill = [&](auto& column, auto member) {
        column.assign(rows_.size() + blockRows, 0);
        std::transform(rows_.begin(), rows_.end(), column.begin(), member);
    };
    fill(byStart_.serviceIds, [](const epgentry* row) { return row->ServiceId; });
    fill(byStart_.starts, [](const epgentry* row) { return row->Start; });
    fill(byStart_.ends, [](const epgentry* row) { return row->End; });
    for (std::size_t i = 0; i != rows_.size(); ++i)
        longestEvent_ = std::max(longestEvent_, std::int64_t{byStart_.ends[i]} - byStart_.starts[i]);
    fill(titles_, [](const epgentry* row) { return row->Title.offset; });
    fill(descriptions_, [](const epgentry* row) { return row->Description.offset; });
}

void StartTimeIndex::fillTexts(const World& world) {
    std::uint32_t last = 0;
    for (std::size_t position = 0; position != rows_.size(); ++position)
        last = std::max({last, titles_[position], descriptions_[position]});
    for (const GuideRowFacts& facts : world.rowFacts)
        longestText_ = std::max<std::size_t>({longestText_, facts.title.length, facts.description.length});
    textsSize_ = last == 0 ? 0 : last + std::strlen(world.text({last})) + 1;
}

void StartTimeIndex::fillServices() {
    byService_.resize(rows_.size());
    std::iota(byService_.begin(), byService_.end(), 0u);
    const auto& ids = byStart_.serviceIds;
    std::stable_sort(byService_.begin(), byService_.end(),
                     [&](std::uint32_t a, std::uint32_t b) { return ids[a] < ids[b]; });
    services_.clear();
    for (std::size_t i = 0; i != byService_.size(); ++i) {
        const auto id = ids[byService_[i]];
        if (services_.empty() || services_.back().id != id)
            services_.push_back({id, i, 0});
        ++services_.back().count;
    }
    const auto fill = [&](auto& column, const auto& from) {
        column.assign(rows_.size() + blockRows, 0);
        std::transform(byService_.begin(), byService_.end(), column.begin(),
                       [&](std::uint32_t position) { return from[position]; });
    };
    fill(byServiceAndStart_.serviceIds, byStart_.serviceIds);
    fill(byServiceAndStart_.starts, byStart_.starts);
    fill(byServiceAndStart_.ends, byStart_.ends);
}

std::string_view StartTimeIndex::texts() const {
    return {chosenWorld().texts.data(), textsSize_};
}

std::size_t StartTimeIndex::firstFrom(std::uint32_t start) const {
    const std::span starts(byStart_.starts.data(), rows_.size());
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
