#include "TV/server/dummy/world/World.h"

namespace Ostrel::TV {

namespace {

World theWorld = builtInWorld();

} // namespace

const char* PoolText::base = theWorld.texts.data();

const World& chosenWorld() noexcept {
    return theWorld;
}

void chooseWorld(const World& world) noexcept {
    theWorld = world;
    PoolText::base = world.texts.data();
}

} // namespace Ostrel::TV
