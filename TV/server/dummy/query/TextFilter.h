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
    /// @param rows  a bit for each position
    /// @throws Cancelled
    void narrow(std::span<std::uint64_t> rows) const;

private:
    /// How many texts may be searched for one after the other.
    static constexpr std::size_t fewTexts = 4;

    bool manyPass(std::uint32_t position) const;
    void narrowToAny(std::span<std::uint64_t> rows) const;

    const StartTimeIndex& index_;
    const bool all_; ///< must be found; otherwise any
    const bool inDescriptions_;
    bool nonePasses_ = false;
    std::vector<TextSearch> few_;
    std::optional<TextSet> many_;
};

} // namespace Ostrel::TV
