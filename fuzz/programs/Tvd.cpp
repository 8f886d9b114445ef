// The description of ostrel-tvd, which stands beside its main().

#define main mainOfTvd
#include "host/main.cpp"
#undef main

#include "fuzz/programs/Programs.h"

Ostrel::Test::Described Ostrel::Test::describeTvd() {
    auto options = std::make_shared<Options>();
    auto program = makeProgram(*options);
    return {std::move(options), std::move(program)};
}
