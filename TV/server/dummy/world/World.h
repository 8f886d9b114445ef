// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"
#include "TV/server/dummy/world/LineupRow.h"
#include "TV/server/dummy/world/epgentry.h"

#include <cstdint>
#include <span>
#include <string_view>

namespace Ostrel::TV {

/// What is known of a text without reading it.
struct GuideTextFacts {
    std::uint16_t length; ///< bytes without the NUL
    bool jsonEscapes; ///< holds a quotation mark or a backslash, or a character of four bytes
    bool xmlEscapes; ///< holds a markup character, an apostrophe, a quotation mark or what is not ASCII
};

/// What is known of the texts of a row.
struct GuideRowFacts {
    GuideTextFacts title, description, guidance;
};

/// The rows of one service, which stand together.
struct GuideServiceRows {
    std::int32_t serviceId;
    std::uint32_t first; ///< index of its first row
    std::uint32_t count;
};

/// How far local time is ahead of UTC from a moment on.
struct ZoneOffset {
    std::int32_t from; ///< seconds since 1970-01-01 UTC; the first one's holds for all time before too
    std::int32_t seconds; ///< negative west of Greenwich
};

/// What is on the air and in the guide: tables that stand somewhere in memory and that nothing
/// writes.
///
/// A value: to copy it is to say once more where the tables stand. Whoever made it keeps them.
struct World {
    std::string_view name;
    std::string_view timeZone; ///< that the broadcasters live by, a name of the IANA's database
    bool builtIn = false;

    /// Service by service, ids ascending, those of one service by ProgId. The row that ends the
    /// table stands behind the last one.
    std::span<const epgentry> rows;
    std::span<const GuideRowFacts> rowFacts; ///< in the order of the rows
    /// Indices of the rows in the order of their start; rows of equal start keep the order of the table.
    std::span<const std::uint32_t> startOrder;
    std::span<const GuideServiceRows> services; ///< ids ascending
    std::span<const LineupRow> lineup; ///< in the order in which transponders carry them
    std::span<const ZoneOffset> zoneOffsets; ///< of the time zone over the time of the guide; at least one
    std::string_view texts; ///< the empty text, and behind it all others, each ended by a NUL

    /// Null when it is absent.
    const char* text(PoolText text) const noexcept {
        return text.offset == 0 ? nullptr : texts.data() + text.offset;
    }
};

/// Chooses the world that all modules of the process simulate, once, before DummyTVModule::init(). Its
/// tables must stay as long as the process.
OSTREL_API void chooseWorld(const World& world) noexcept;

} // namespace Ostrel::TV
