#pragma once

#include "TV/server/dummy/data/WorldFile.h"
#include "TV/server/dummy/data/WorldWriter.h"
#include "world/Synthetic.h"

#include <cstdio>
#include <memory>

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
