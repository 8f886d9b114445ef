#include "TV/server/dummy/world/ChosenWorld.h"

#include "TV/server/dummy/world/BuiltInWorld.h"

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
