#include "TV/server/dummy/query/TextFilter.h"

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
        few_.emplace_back(index, *text, inDescriptions_);
    texts.erase(texts.begin(), few);
    std::sort(texts.begin(), texts.end());
    if (!texts.empty())
        many_.emplace(std::move(texts));
}

bool TextFilter::passes(std::uint32_t position) const {
    if (nonePasses_)
        return false;
    // One text decides: of all that must be there the first one missed, of any the first found.
    for (const TextSearch& search : few_)
        if (search.occursAt(position) != all_)
            return !all_;
    return many_ ? manyPass(position) : all_ || few_.empty();
}

bool TextFilter::manyPass(std::uint32_t position) const {
    const char* const title = PoolText{index_.titles()[position]};
    const char* const description = PoolText{inDescriptions_ ? index_.descriptions()[position] : 0};
    if (!all_)
        return (title && many_->occurIn(title)) || (description && many_->occurIn(description));
    TextSet::Marks marks;
    if (title)
        many_->mark(title, marks);
    if (description)
        many_->mark(description, marks);
    return marks.count() == many_->size();
}

void TextFilter::narrow(std::span<std::uint64_t> rows) const {
    if (nonePasses_)
        return std::fill(rows.begin(), rows.end(), 0);
    if (!all_ && few_.size() > 1)
        return narrowToAny(rows);
    for (const TextSearch& search : few_)
        search.narrow(rows);
    if (many_)
        keepRows(rows, [this](std::uint32_t position) { return manyPass(position); });
}

void TextFilter::narrowToAny(std::span<std::uint64_t> rows) const {
    std::vector<std::uint64_t> left(rows.begin(), rows.end()), found;
    for (const TextSearch& search : few_) {
        found = left;
        search.narrow(found);
        for (std::size_t i = 0; i != left.size(); ++i)
            left[i] &= ~found[i];
    }
    for (std::size_t i = 0; i != left.size(); ++i)
        rows[i] &= ~left[i];
}

} // namespace Ostrel::TV
