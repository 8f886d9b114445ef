#pragma once

#include "TV/server/dummy/guide/Guide.h"
#include "TV/server/dummy/lineup/Lineup.h"

/// Takes back what init() has written for the whole process, so that another module may run it.
inline void forgetBuiltInData() {
    using namespace Ostrel::TV;
    sharedLineup() = Lineup();
    sharedGuide() = Guide();
}
