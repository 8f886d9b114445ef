#pragma once

#include "TV/server/dummy/world/World.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <numeric>
#include <span>
#include <string>
#include <utility>
#include <vector>

/// A world that is written down in a test, with one channel. A title is the service and the number of
/// the event.
class SmallWorld {
public:
    explicit SmallWorld(std::vector<Ostrel::TV::ZoneOffset> offsets = {{0, 0}})
        : offsets_(std::move(offsets)) {
        lineup_[0] = {.frequencyMHz = 690,
                      .channelNumber = 1,
                      .type = 1,
                      .name = keep("One"),
                      .originalNetworkId = 1,
                      .transportStreamId = 1,
                      .dvbServiceId = 1,
                      .guideServiceId = 0,
                      .provider = {},
                      .scrambled = false,
                      .highDefinition = false,
                      .visible = true,
                      .selectable = true};
    }
    SmallWorld(const SmallWorld&) = delete;
    SmallWorld& operator=(const SmallWorld&) = delete;

    /// An event of a service; services come in the order of their ids.
    /// @returns its ProgId
    std::uint32_t add(int serviceId, std::int64_t start, std::int64_t end) {
        Ostrel::TV::epgentry row{};
        row.ServiceId = serviceId;
        row.Start = static_cast<std::int32_t>(start);
        row.End = static_cast<std::int32_t>(end);
        row.ProgId = static_cast<std::uint32_t>(rows_.size() + 1);
        row.DvbOid = row.DvbTid = 1;
        row.DvbSid = static_cast<std::uint32_t>(serviceId);
        row.Title = keep(std::to_string(serviceId) + "." + std::to_string(row.ProgId));
        if (services_.empty() || services_.back().serviceId != serviceId)
            services_.push_back({serviceId, static_cast<std::uint32_t>(rows_.size()), 0});
        ++services_.back().count;
        rows_.push_back(row);
        return row.ProgId;
    }

    Ostrel::TV::epgentry& row(std::uint32_t programme) { return rows_[programme - 1]; }

    /// Events of a service that follow each other without a gap.
    void fill(int serviceId, std::int64_t start, std::int64_t end, std::int64_t each) {
        for (; start < end; start += each)
            add(serviceId, start, std::min(start + each, end));
    }

    /// Good until the next add().
    const Ostrel::TV::World& world() {
        order_.resize(rows_.size());
        std::iota(order_.begin(), order_.end(), 0u);
        std::stable_sort(order_.begin(), order_.end(),
                         [&](auto a, auto b) { return rows_[a].Start < rows_[b].Start; });
        facts_.resize(rows_.size());
        terminated_ = rows_;
        terminated_.push_back({});
        world_ = {.name = "small",
                  .timeZone = "UTC",
                  .builtIn = false,
                  .rows = std::span(terminated_).first(rows_.size()),
                  .rowFacts = facts_,
                  .startOrder = order_,
                  .services = services_,
                  .lineup = std::span(lineup_).first(1),
                  .zoneOffsets = offsets_,
                  .texts = texts_};
        return world_;
    }

private:
    Ostrel::TV::PoolText keep(const std::string& text) {
        const auto offset = static_cast<std::uint32_t>(texts_.size());
        texts_ += text + '\0';
        return {offset};
    }

    std::string texts_ = std::string(1, '\0');
    std::vector<Ostrel::TV::ZoneOffset> offsets_;
    std::vector<Ostrel::TV::epgentry> rows_, terminated_;
    std::vector<Ostrel::TV::GuideRowFacts> facts_;
    std::vector<std::uint32_t> order_;
    std::vector<Ostrel::TV::GuideServiceRows> services_;
    std::array<Ostrel::TV::LineupRow, 2> lineup_ = {};
    Ostrel::TV::World world_;
};
