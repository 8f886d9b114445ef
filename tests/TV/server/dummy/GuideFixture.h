#pragma once

#include "TV/interfaces/ITVGuide.h"
#include "TV/server/dummy/guide/Guide.h"
#include "TV/server/dummy/world/ChosenWorld.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

/// Has a guide of its own, with the events of the chosen world: the built-in ones, unless a test
/// has chosen others.
class GuideFixture : public testing::Test {
protected:
    static const Ostrel::TV::Guide& guide() {
        static std::map<const Ostrel::TV::epgentry*, Ostrel::TV::Guide> guides; // by their rows
        const auto [found, isNew] = guides.try_emplace(Ostrel::TV::guideRows().data());
        if (isNew)
            found->second.addEvents();
        return found->second;
    }

    static const Ostrel::TV::StartTimeIndex& index() { return guide().index(); }

    /// The rows that fulfil a condition, in the order of the table.
    static std::vector<const Ostrel::TV::epgentry*>
    rowsWith(const std::function<bool(const Ostrel::TV::epgentry&)>& condition) {
        std::vector<const Ostrel::TV::epgentry*> rows;
        for (const auto& row : Ostrel::TV::guideRows())
            if (condition(row))
                rows.push_back(&row);
        return rows;
    }

    /// A query as it travels.
    static Ostrel::TV::ITVGuide::Query makeQuery(const std::string& text) {
        Ostrel::Deserializer deserializer(text, "payload");
        return Ostrel::TV::ITVGuide::Query(deserializer);
    }
};
