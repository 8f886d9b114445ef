#include "Ostrel/rpc/ReturnCode.h"

namespace Ostrel {

namespace {

struct Row {
    const char* name;
    const char* message;
};

// By value; the last row stands for every other value too.
constexpr Row rows[] = {
    {"Success", "Success"},
    {"InvalidParameter", "Invalid parameter"},
    {"InvalidState", "Invalid state"},
    {"OutOfMemory", "Out of memory"},
    {"NotSupported", "Not supported"},
    {"TimedOut", "Timed out"},
    {"GenericFailure", "Generic failure"},
};

const Row& rowOf(ReturnCode code) {
    const auto value = static_cast<std::uint32_t>(code);
    return rows[value < 6 ? value : 6];
}

} // namespace

const char* getMessage(ReturnCode code) {
    return rowOf(code).message;
}

const char* getName(ReturnCode code) {
    return rowOf(code).name;
}

} // namespace Ostrel
