#pragma once

#include "TV/server/dummy/world/ChosenWorld.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>
#include <vector>

namespace Ostrel::TV {

/// The rows of the guide in the order of their start, and the columns of them that queries read.
///
/// A row's position is its number in that order. Rows of equal start stand in the order of their
/// services. Columns are packed, and a block longer than the guide, so that a block of rows may
/// be read from any position; behind the last row they hold zeros.
class StartTimeIndex {
public:
    static constexpr std::size_t blockRows = 64;

    /// Written once, so that copies of an index share it.
    template <typename Number> using Column = std::shared_ptr<Number[]>;

    /// Adds the whole guide of a world, which must stay. A second call with it adds it a second time.
    void addGuide(const World& world = chosenWorld());

    /// What expressions can ask for.
    struct Columns {
        Column<std::int32_t> serviceIds, starts, ends;

        void put(std::size_t position, const epgentry& row);
    };

    std::size_t size() const { return rows_.size(); }
    const epgentry* operator[](std::size_t position) const { return rows_[position]; }

    const Columns& columns() const { return byStart_; }
    /// Where titles and descriptions begin among the guide's texts.
    const std::uint32_t* titles() const { return titles_.get(); }
    const std::uint32_t* descriptions() const { return descriptions_.get(); }

    /// All titles and descriptions, each ended by a NUL, behind the empty text; among them are
    /// other texts of the guide. Offsets count from its start.
    std::string_view texts() const;

    /// How long the longest event lasts, in seconds.
    std::int64_t longestEvent() const { return longestEvent_; }

    /// How many bytes the longest title or description has.
    std::size_t longestText() const { return longestText_; }

    /// The first position whose start, taken as an unsigned number, is not less than this.
    std::size_t firstFrom(std::uint32_t start) const;

    /// The positions of a service's rows, ascending; empty for a service without any.
    std::span<const std::uint32_t> positionsOf(std::int64_t serviceId) const;

    /// All positions in the order of the services, those of one service ascending; what
    /// positionsOf() returns is a part of it.
    std::span<const std::uint32_t> byService() const { return byService_; }

    /// The columns in the order of byService(), where a service's rows stand together.
    const Columns& columnsByService() const { return byServiceAndStart_; }

private:
    struct Service {
        std::int32_t id;
        std::size_t first, count; ///< of its positions in byService_
    };

    template <typename Number> Column<Number> makeColumn() const;
    Columns makeColumns() const;

    void takeServices(const World& world);
    void sortServices();
    void fillColumns();
    void fillTexts(const World& world);

    std::vector<const epgentry*> rows_;
    Columns byStart_, byServiceAndStart_;
    Column<std::uint32_t> titles_, descriptions_;
    std::size_t textsSize_ = 0, longestText_ = 0;
    std::int64_t longestEvent_ = 0;
    std::vector<std::uint32_t> byService_;
    std::vector<Service> services_; ///< ascending by id
};

} // namespace Ostrel::TV
