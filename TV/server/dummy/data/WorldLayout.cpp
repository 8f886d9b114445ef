#include "TV/server/dummy/data/WorldLayout.h"

#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace Ostrel::TV {

namespace {

/// Puts tables one behind the other.
class Layout {
public:
    /// @param ending  elements that end the table and do not count
    void place(WorldImage::Table& table, std::uint64_t elementSize, std::uint64_t ending = 0) {
        size_ = (size_ + WorldImage::alignment - 1) / WorldImage::alignment * WorldImage::alignment;
        table.offset = static_cast<std::uint32_t>(size_);
        size_ += elementSize * (table.count + ending);
        if (size_ > std::numeric_limits<std::uint32_t>::max())
            throw std::runtime_error("a world has at most 4 GiB");
    }
    std::uint32_t size() const { return static_cast<std::uint32_t>(size_); }

private:
    std::uint64_t size_ = sizeof(WorldImage); ///< which a std::size_t of 32 bits may not hold
};

} // namespace

void layOut(WorldImage& image) {
    Layout layout;
    layout.place(image.rows, sizeof(epgentry), 1);
    layout.place(image.rowFacts, sizeof(GuideRowFacts));
    layout.place(image.startOrder, sizeof(std::uint32_t));
    layout.place(image.services, sizeof(GuideServiceRows));
    layout.place(image.lineup, sizeof(LineupRow), 1);
    layout.place(image.zoneOffsets, sizeof(ZoneOffset));
    layout.place(image.texts, 1);
    image.size = layout.size();
}

GuideTextFacts factsOf(std::string_view text) {
    unsigned char json = 0, xml = 0; // without a branch, so that many bytes are looked at at once
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        json |= (byte == '"') | (byte == '\\') | (byte >= 0xF0);
        xml |=
            (byte == '<') | (byte == '>') | (byte == '&') | (byte == '\'') | (byte == '"') | (byte >= 0x80);
    }
    GuideTextFacts facts;
    std::memset(&facts, 0, sizeof facts);
    facts.length = static_cast<std::uint16_t>(text.size());
    facts.jsonEscapes = json != 0;
    facts.xmlEscapes = xml != 0;
    return facts;
}

} // namespace Ostrel::TV
