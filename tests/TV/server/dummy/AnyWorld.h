#pragma once

#include "TV/server/dummy/data/WorldFile.h"
#include "TV/server/dummy/data/WorldWriter.h"
#include "tests/TV/server/dummy/GuideFixture.h"
#include "world/Synthetic.h"

#include <cstdio>
#include <memory>
#include <string>

/// A world made to break things, of the built-in one's days: 40 services, 3 days.
inline const Ostrel::TV::World& stressWorld() {
    using namespace Ostrel::TV;
    static const WorldFile file = [] {
        WorldWriter writer;
        Tool::inventWorld({.services = 40, .days = 3, .stress = true}, writer, [](std::size_t) {});
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> image(std::tmpfile(), std::fclose);
        writer.write(image.get());
        return WorldFile(image.get());
    }();
    static const World world = file.world();
    return world;
}

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
