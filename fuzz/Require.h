#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace Ostrel::Fuzz {

/// What must hold for every input. Where it does not, that is a finding: the stack tells which, and the
/// promise, where one is given, what was broken.
inline void require(bool holds, std::string_view promise = {}) {
    if (holds)
        return;
    std::fprintf(stderr, "broken: %s\n", std::string(promise).c_str());
    std::abort();
}

/// The same for what has an expected text, and both are shown.
inline void requireEqual(std::string_view is, std::string_view expected) {
    if (is == expected)
        return;
    std::fprintf(stderr, "     is: %s\nwanted: %s\n", std::string(is).c_str(), std::string(expected).c_str());
    std::abort();
}

} // namespace Ostrel::Fuzz
