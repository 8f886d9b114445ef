#pragma once

#include "TV/interfaces/ITVGuide.h"
#include "TV/server/dummy/query/TextSearch.h"
#include "TV/server/dummy/query/TextSet.h"

#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace Ostrel::TV {

/// Which rows of the guide have the texts that a query looks for. A query without texts lets
/// every row pass.
///
/// What may be asked for 256 times is looked for once, and what no text of the guide can hold
/// is not looked for at all. A few texts are searched for one after the other, which is quickest
/// for each; many of them all at once.
class TextFilter {
public:
    /// Both must stay where they are.
    TextFilter(const StartTimeIndex& index, const ITVGuide::Query& query);

    /// Whether the row at that position passes.
    bool passes(std::uint32_t position) const;

    /// Clears the bits of the rows that do not pass.
    /// @param rows   a bit for each position
    /// @param first  position of the first bit
    /// @throws Cancelled
    void narrow(std::span<std::uint64_t> rows, std::size_t first) const;

private:
    /// How many texts may be searched for one after the other.
    static constexpr std::size_t fewTexts = 4;

    bool isEmpty() const { return few_.empty() && !many_; }

    /// What a row holds of few_ and many_.
    bool holdsAny(std::uint32_t position) const;
    bool holdsFew(std::uint32_t position) const;
    bool holdsMany(std::uint32_t position) const;

    /// Calls a condition with the row's texts that are there and may be looked into, until it is true.
    template <typename Condition> bool anyText(std::uint32_t position, Condition condition) const;

    const StartTimeIndex& index_;
    const bool all_; ///< must be found; otherwise any
    const bool inDescriptions_;
    bool nonePasses_ = false;
    std::vector<TextSearch> few_; ///< with any, alone
    std::optional<TextSet> many_; ///< with all, the others
};

} // namespace Ostrel::TV
