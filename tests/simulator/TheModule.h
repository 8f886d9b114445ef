#pragma once

#include "TV/server/dummy/DummyTVModule.h"

namespace Ostrel::Test {

/// The built-in data are loaded once in a process.
inline TV::DummyTVModule& theModule() {
    static TV::DummyTVModule& module = *[] {
        auto* const made = new TV::DummyTVModule;
        made->init();
        return made;
    }();
    return module;
}

} // namespace Ostrel::Test
