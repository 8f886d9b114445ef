#include "TV/server/dummy/query/QuorilQuery.h"

#include "TV/server/dummy/guide/StartTimeIndex.h"

#include <bit>

namespace Ostrel::TV {

bool QuorilQuery::init(const std::string& expression, unsigned base, unsigned limit) {
    if (!expression_.parse(expression))
        return false;
    word_ = 0;
    left_ = 0;
    const StartTimeIndex& index = startTimeIndex;
    rows_.assign((index.size() + Filter::wordRows - 1) / Filter::wordRows, 0);
    if (const Filter* filter = expression_.filter())
        filter->select(index, index.firstFrom(base), index.firstFrom(limit), rows_);
    return true;
}

const epgentry* QuorilQuery::next() {
    const auto position = nextPosition();
    return position ? startTimeIndex[*position] : nullptr;
}

std::size_t QuorilQuery::count() const {
    std::size_t count = 0;
    for (const std::uint64_t word : rows_)
        count += static_cast<std::size_t>(std::popcount(word));
    return count;
}

} // namespace Ostrel::TV
