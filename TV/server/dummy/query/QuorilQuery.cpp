#include "TV/server/dummy/query/QuorilQuery.h"

#include <algorithm>
#include <limits>
#include <span>

namespace Ostrel::TV {

static_assert(StartTimeIndex::blockRows >= Filter::wordRows, "a filter may read a word from any position");

namespace {

/// The columns from a row on.
Filter::Columns columnsFrom(const StartTimeIndex::Columns& columns, std::size_t first, bool oneService) {
    return {{columns.serviceIds.get() + first, columns.starts.get() + first, columns.ends.get() + first},
            oneService};
}

} // namespace

bool QuorilQuery::init(const std::string& expression, unsigned base, unsigned limit) {
    if (!expression_.emplace().parse(expression))
        return false;
    if (const Filter* const filter = expression_->filter())
        init(*filter, base, limit);
    else
        clear();
    return true;
}

void QuorilQuery::clear() {
    word_ = 0;
    left_ = 0;
    rows_.clear();
    services_ = nullptr;
}

void QuorilQuery::init(const Filter& filter, unsigned base, unsigned limit) {
    clear();
    services_ = filter.services();
    const Window window = windowOf(filter, base, limit);
    if (window.first < window.last)
        filter.services() ? selectServices(filter, window) : selectAll(filter, window);
}

/// Where rows can be that start between base and limit and fulfil the expression: none that ends
/// after a moment starts earlier before it than the longest event lasts.
QuorilQuery::Window QuorilQuery::windowOf(const Filter& filter, unsigned base, unsigned limit) const {
    constexpr std::int64_t latest = std::numeric_limits<unsigned>::max();
    const auto startAt = [=](std::int64_t time) {
        return static_cast<unsigned>(std::clamp<std::int64_t>(time, 0, latest));
    };
    const auto longBefore = startAt(filter.ends().low) - index_.longestEvent();
    const auto first = std::max({base, startAt(filter.starts().low), startAt(longBefore)});
    const auto last =
        filter.starts().high < latest ? std::min(limit, startAt(filter.starts().high + 1)) : limit;
    return {index_.firstFrom(first), index_.firstFrom(last)};
}

void QuorilQuery::selectAll(const Filter& filter, Window window) {
    first_ = window.first / Filter::wordRows * Filter::wordRows;
    rows_.assign((window.last - first_ + Filter::wordRows - 1) / Filter::wordRows, 0);
    filter.select(columnsFrom(index_.columns(), first_, false), rows_);
    rows_.front() &= ~std::uint64_t{0} << (window.first - first_);
    rows_.back() &= ~std::uint64_t{0} >> (Filter::wordRows - 1 - (window.last - 1) % Filter::wordRows);
}

void QuorilQuery::selectServices(const Filter& filter, Window window) {
    first_ = window.first / Filter::wordRows * Filter::wordRows;
    rows_.assign((window.last - first_ + Filter::wordRows - 1) / Filter::wordRows, 0);
    for (const std::int64_t service : *filter.services()) {
        const auto all = index_.positionsOf(service);
        const auto from = std::lower_bound(all.begin(), all.end(), window.first);
        std::span<const std::uint32_t> positions(from, std::lower_bound(from, all.end(), window.last));
        while (!positions.empty()) {
            const auto some = positions.first(std::min(positions.size(), Filter::wordRows));
            const auto row = static_cast<std::size_t>(some.data() - index_.byService().data());
            std::uint64_t found = 0;
            filter.select(columnsFrom(index_.columnsByService(), row, true), {&found, 1});
            found &= ~std::uint64_t{0} >> (Filter::wordRows - some.size());
            for (; found != 0; found &= found - 1) {
                const auto bit = some[static_cast<std::size_t>(std::countr_zero(found))] - first_;
                rows_[bit / Filter::wordRows] |= std::uint64_t{1} << bit % Filter::wordRows;
            }
            positions = positions.subspan(some.size());
        }
    }
}

std::vector<std::span<const std::uint32_t>> QuorilQuery::byService() const {
    if (!services_)
        return {index_.byService()};
    auto ids = *services_;
    std::sort(ids.begin(), ids.end());
    ids.erase(std::unique(ids.begin(), ids.end()), ids.end());
    std::vector<std::span<const std::uint32_t>> positions;
    positions.reserve(ids.size());
    const auto last = first_ + rows_.size() * Filter::wordRows;
    for (const std::int64_t id : ids) {
        const auto all = index_.positionsOf(id);
        const auto from = std::lower_bound(all.begin(), all.end(), first_);
        positions.emplace_back(from, std::lower_bound(from, all.end(), last));
    }
    return positions;
}

const epgentry* QuorilQuery::next() {
    const auto position = nextPosition();
    return position ? index_[*position] : nullptr;
}

} // namespace Ostrel::TV
