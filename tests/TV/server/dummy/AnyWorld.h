#pragma once

#include "TV/server/dummy/world/BuiltInWorld.h"
#include "tests/TV/server/dummy/GuideFixture.h"
#include "tests/TV/server/dummy/StressWorld.h"

#include <string>

/// Has a guide of the built-in events, and another time one of the world that is made to break things.
class AnyWorld : public GuideFixture, public testing::WithParamInterface<const char*> {
protected:
    AnyWorld() {
        if (GetParam() == std::string("Stress"))
            Ostrel::TV::chooseWorld(stressWorld());
    }
    ~AnyWorld() override { Ostrel::TV::chooseWorld(Ostrel::TV::builtInWorld()); }
};

/// Runs the tests of a suite, which is an AnyWorld, over each world.
#define OSTREL_TEST_ANY_WORLD(suite)                                                                         \
    INSTANTIATE_TEST_SUITE_P(World, suite, testing::Values("BuiltIn", "Stress"),                             \
                             [](const auto& world) { return std::string(world.param); })
