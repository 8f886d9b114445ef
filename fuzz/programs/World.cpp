// The description of ostrel-world, which stands beside its main().

#define main mainOfWorld
#include "world/main.cpp"
#undef main

#include "fuzz/programs/Programs.h"

Ostrel::Test::Described Ostrel::Test::describeWorld() {
    return {nullptr, makeProgram()};
}
