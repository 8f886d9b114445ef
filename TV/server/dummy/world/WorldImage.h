#pragma once

#include "TV/server/dummy/world/World.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace Ostrel::TV {

/// The beginning of a world's bytes, in memory and in a file alike: all numbers have 32 bits or
/// fewer, the lowest byte first, and no address is among them, so that a file can be used where it
/// is mapped. Its tables follow, each behind the one before it at the next multiple of 16.
struct WorldImage {
    static constexpr std::array<char, 8> magicText = {'O', 's', 't', 'r', 'e', 'l', 'W', '\n'};
    static constexpr std::uint32_t currentVersion = 1;
    static constexpr std::size_t alignment = 16;

    /// Where a table stands.
    struct Table {
        std::uint32_t offset; ///< bytes from the beginning of the image
        std::uint32_t count; ///< elements; of the rows and the line-up without the one that ends them
    };

    std::array<char, 8> magic;
    std::uint32_t version;
    std::uint32_t size; ///< bytes of the whole image
    std::uint32_t checksumLow, checksumHigh; ///< XXH3 of 64 bits over what follows this member
    PoolText name, timeZone;
    Table rows, rowFacts, startOrder, services, lineup, zoneOffsets, texts;

    /// Where the checksum begins to count.
    static constexpr std::size_t checkedFrom = 24;

    /// The world whose bytes these are. Nothing is verified: they come from the build or from
    /// somebody who has verified them.
    World world() const noexcept {
        const char* const firstText = begin<char>(texts);
        return {.name = firstText + name.offset,
                .timeZone = firstText + timeZone.offset,
                .rows = span<epgentry>(rows),
                .rowFacts = span<GuideRowFacts>(rowFacts),
                .startOrder = span<std::uint32_t>(startOrder),
                .services = span<GuideServiceRows>(services),
                .lineup = span<LineupRow>(lineup),
                .zoneOffsets = span<ZoneOffset>(zoneOffsets),
                .texts = {firstText, texts.count}};
    }

private:
    template <typename Element> const Element* begin(const Table& table) const noexcept {
        static_assert(std::is_trivially_copyable_v<Element>);
        return reinterpret_cast<const Element*>(reinterpret_cast<const char*>(this) + table.offset);
    }
    template <typename Element> std::span<const Element> span(const Table& table) const noexcept {
        return {begin<Element>(table), table.count};
    }
};

// What a file holds must not depend on who compiled the program that made it.
static_assert(sizeof(WorldImage) == 88 && offsetof(WorldImage, name) == WorldImage::checkedFrom);
static_assert(sizeof(epgentry) == 168 && sizeof(LineupRow) == 40 && sizeof(GuideRowFacts) == 12);
static_assert(alignof(epgentry) == 4 && alignof(LineupRow) == 4);

} // namespace Ostrel::TV
