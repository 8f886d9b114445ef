#pragma once

#include "tests/faults/Service.h"

#include <functional>
#include <ostream>
#include <string>
#include <vector>

namespace Ostrel::Test {

/// Something that a client does.
struct Way {
    std::string name;

    /// Does it and returns what the client hears, without what differs from time to time. A
    /// connection that is closed is an exception.
    std::function<std::string(Service&)> act;

    /// What must be there first, beside what Service::prepare() makes.
    std::function<void(Service&)> begin = [](Service&) {};

    /// What an answer that is not the right one tells of the state.
    enum Verdict { Wrong, Unchanged, Changed };
    std::function<Verdict(const std::string&)> judge = [](const std::string&) { return Wrong; };
};

inline std::ostream& operator<<(std::ostream& out, const Way& way) {
    return out << way.name;
}

/// Every method of every interface, and whatever else clients do.
std::vector<Way> ways();

} // namespace Ostrel::Test
