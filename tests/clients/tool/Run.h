#pragma once

#include "tests/support/Child.h"

#include <string>
#include <vector>

namespace Ostrel::Test {

/// What ostrel-tv has done.
struct Run {
    int status;
    std::string output;
    std::string errors;
};

/// Runs ostrel-tv in London until it ends.
inline Run run(const std::vector<std::string>& arguments, const std::string& address = "127.0.0.1:1",
               const std::string& input = {}) {
    Child child(OSTREL_TV_PROGRAM, arguments, input, {"OSTREL_TV_URL=" + address, "TZ=Europe/London"});
    auto output = child.readOutput();
    const int status = child.wait();
    return {status, output, child.readErrors()};
}

} // namespace Ostrel::Test
