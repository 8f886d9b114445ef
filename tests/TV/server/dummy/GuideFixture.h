#pragma once

#include "TV/interfaces/ITVGuide.h"
#include "TV/server/dummy/guide/StartTimeIndex.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <set>
#include <string>
#include <vector>

/// Has the built-in guide in the index.
class GuideFixture : public testing::Test {
protected:
    void SetUp() override {
        Ostrel::TV::startTimeIndex.clear();
        Ostrel::TV::startTimeIndex.addGuide();
    }
    void TearDown() override { Ostrel::TV::startTimeIndex.clear(); }

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
