// The description of ostrel-tv, which stands beside its main().

#define main mainOfTv
#include "clients/tool/main.cpp"
#undef main

#include "fuzz/programs/Programs.h"

Ostrel::Test::Described Ostrel::Test::describeTv() {
    auto session = std::make_shared<Session>();
    auto program = makeProgram(*session);
    return {std::move(session), std::move(program)};
}
