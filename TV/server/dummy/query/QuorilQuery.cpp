#include "TV/server/dummy/query/QuorilQuery.h"

#include <algorithm>
#include <span>

namespace Ostrel::TV {

static_assert(StartTimeIndex::blockRows >= Filter::wordRows, "a filter may read a word from any position");

namespace {

/// The columns from a row on.
Filter::Columns columnsFrom(const StartTimeIndex::Columns& columns, std::size_t first, bool oneService) {
    return {{columns.serviceIds.data() + first, columns.starts.data() + first, columns.ends.data() + first},
            oneService};
}

} // namespace

bool QuorilQuery::init(const std::string& expression, unsigned base, unsigned limit) {
    if (!expression_.parse(expression))
        return false;
    word_ = 0;
    left_ = 0;
    rows_.assign((index_.size() + Filter::wordRows - 1) / Filter::wordRows, 0);
    const auto first = index_.firstFrom(base), last = index_.firstFrom(limit);
    const Filter* const filter = expression_.filter();
    if (filter && first < last)
        filter->services() ? selectServices(*filter, first, last) : selectAll(*filter, first, last);
    return true;
}

void QuorilQuery::selectAll(const Filter& filter, std::size_t first, std::size_t last) {
    const auto firstWord = first / Filter::wordRows, lastWord = (last - 1) / Filter::wordRows;
    filter.select(columnsFrom(index_.columns(), firstWord * Filter::wordRows, false),
                  std::span(rows_).subspan(firstWord, lastWord - firstWord + 1));
    rows_[firstWord] &= ~std::uint64_t{0} << first % Filter::wordRows;
    rows_[lastWord] &= ~std::uint64_t{0} >> (Filter::wordRows - 1 - (last - 1) % Filter::wordRows);
}

void QuorilQuery::selectServices(const Filter& filter, std::size_t first, std::size_t last) {
    for (const std::int64_t service : *filter.services()) {
        const auto all = index_.positionsOf(service);
        const auto from = std::lower_bound(all.begin(), all.end(), first);
        std::span<const std::uint32_t> positions(from, std::lower_bound(from, all.end(), last));
        while (!positions.empty()) {
            const auto some = positions.first(std::min(positions.size(), Filter::wordRows));
            const auto row = static_cast<std::size_t>(some.data() - index_.byService().data());
            std::uint64_t found = 0;
            filter.select(columnsFrom(index_.columnsByService(), row, true), {&found, 1});
            found &= ~std::uint64_t{0} >> (Filter::wordRows - some.size());
            for (; found != 0; found &= found - 1) {
                const auto position = some[static_cast<std::size_t>(std::countr_zero(found))];
                rows_[position / Filter::wordRows] |= std::uint64_t{1} << position % Filter::wordRows;
            }
            positions = positions.subspan(some.size());
        }
    }
}

const epgentry* QuorilQuery::next() {
    const auto position = nextPosition();
    return position ? index_[*position] : nullptr;
}

} // namespace Ostrel::TV
