#include "TV/server/dummy/query/TextFilter.h"

#include "Ostrel/runtime/Cancellation.h"
#include "TV/server/dummy/guide/StartTimeIndex.h"
#include "TV/server/dummy/query/RowBits.h"

#include <algorithm>
#include <string_view>
#include <utility>

namespace Ostrel::TV {

static_assert(ITVGuide::Query::stringLimit <= TextSet::limit);

TextFilter::TextFilter(const StartTimeIndex& index, const ITVGuide::Query& query)
    : index_(index), all_(query.getStringAnd()), inDescriptions_(query.getStringMatchDescription()) {
    const auto& wanted = query.getStringList();
    std::vector<std::string_view> texts;
    for (const std::string& text : wanted)
        // No text of the guide holds a NUL.
        if (text.size() <= index.longestText() && text.find('\0') == std::string::npos)
            texts.emplace_back(text);
    nonePasses_ = all_ ? texts.size() != wanted.size() : texts.empty() && !wanted.empty();
    if (nonePasses_)
        return;
    std::sort(texts.begin(), texts.end());
    texts.erase(std::unique(texts.begin(), texts.end()), texts.end());
    // Where there is any text, the empty one is found: it is enough for any, and nothing beside others.
    if (texts.size() > 1 && texts.front().empty())
        all_ ? texts.erase(texts.begin(), texts.begin() + 1) : texts.erase(texts.begin() + 1, texts.end());

    auto few = texts.begin();
    if (all_) {
        // The longest are the likeliest to leave little for the others to do.
        few += static_cast<std::ptrdiff_t>(std::min(texts.size(), fewTexts));
        std::partial_sort(texts.begin(), few, texts.end(),
                          [](std::string_view a, std::string_view b) { return a.size() > b.size(); });
    } else if (texts.size() <= fewTexts) {
        few = texts.end();
    }
    for (auto text = texts.begin(); text != few; ++text)
        few_.emplace_back(*text);
    texts.erase(texts.begin(), few);
    std::sort(texts.begin(), texts.end());
    if (!texts.empty())
        many_.emplace(std::move(texts));
}

bool TextFilter::passes(std::uint32_t position) const {
    if (nonePasses_ || isEmpty())
        return !nonePasses_;
    return all_ ? holdsFew(position) && (!many_ || holdsMany(position)) : holdsAny(position);
}

template <typename Condition> bool TextFilter::anyText(std::uint32_t position, Condition condition) const {
    const char* const title = PoolText{index_.titles()[position]};
    const char* const description = PoolText{inDescriptions_ ? index_.descriptions()[position] : 0};
    return (title && condition(title)) || (description && condition(description));
}

bool TextFilter::holdsAny(std::uint32_t position) const {
    return anyText(position, [this](const char* text) {
        return many_ ? many_->occurIn(text)
                     : std::any_of(few_.begin(), few_.end(),
                                   [&](const TextSearch& search) { return search.occursIn(text); });
    });
}

bool TextFilter::holdsFew(std::uint32_t position) const {
    return std::all_of(few_.begin(), few_.end(), [&](const TextSearch& search) {
        return anyText(position, [&](const char* text) { return search.occursIn(text); });
    });
}

bool TextFilter::holdsMany(std::uint32_t position) const {
    TextSet::Marks marks;
    return anyText(position, [&](const char* text) {
        many_->mark(text, marks);
        return marks.count() == many_->size();
    });
}

void TextFilter::narrow(std::span<std::uint64_t> rows, std::size_t first) const {
    // Only for many rows, one of twelve, is it worth it to read all texts.
    const auto areMany = [&] { return countRows(rows) > index_.size() / 12; };
    if (nonePasses_)
        return std::fill(rows.begin(), rows.end(), 0);
    if (isEmpty())
        return;
    Cancellation::check();
    // Of many texts, looked for in titles alone, the titles are less to read than all there is.
    if (!all_ && (!many_ || inDescriptions_) && areMany()) {
        FoundTexts found(index_);
        for (const TextSearch& search : few_)
            search.find(found);
        if (many_)
            many_->find(found);
        return found.narrow(rows, first, inDescriptions_);
    }
    auto next = few_.begin();
    for (; all_ && next != few_.end() && areMany(); ++next) {
        FoundTexts found(index_);
        next->find(found);
        found.narrow(rows, first, inDescriptions_);
    }
    if (next != few_.end() || !all_)
        keepRows(rows, first, [this](std::uint32_t position) { return passes(position); });
    else if (many_)
        keepRows(rows, first, [this](std::uint32_t position) { return holdsMany(position); });
}

} // namespace Ostrel::TV
