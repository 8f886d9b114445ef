#pragma once

#include "TV/server/dummy/guide/epgentry.h"

#include <cstdint>
#include <span>

namespace Ostrel::TV {

/// What the build knows about a text of a row.
struct GuideTextFacts {
    std::uint16_t length; ///< bytes without the NUL
    bool jsonEscapes; ///< holds a quotation mark or a backslash
    bool xmlEscapes; ///< holds a markup character, an apostrophe, a quotation mark or what is not ASCII
};

/// What the build knows about the texts of a row.
struct GuideRowFacts {
    GuideTextFacts title, description, guidance;
};

/// The rows of one service, which stand together.
struct GuideServiceRows {
    std::int32_t serviceId;
    std::uint32_t first; ///< index of its first row
    std::uint32_t count;
};

/// The rows of the built-in guide: service by service, ids ascending, those of one service by
/// ProgId. The row that ends the table stands behind the last one.
std::span<const epgentry> guideRows() noexcept;

/// What is known of each row, in the order of the rows.
std::span<const GuideRowFacts> guideRowFacts() noexcept;

/// Indices of the rows in the order of their start; rows of equal start keep the order of the table.
std::span<const std::uint16_t> guideStartOrder() noexcept;

/// The services, ids ascending.
std::span<const GuideServiceRows> guideServices() noexcept;

} // namespace Ostrel::TV
