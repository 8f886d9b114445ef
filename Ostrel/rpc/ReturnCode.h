// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <cstdint>

namespace Ostrel {

/// The framework's result code. Every value but the first six means a generic failure.
enum class ReturnCode : std::int32_t {
    Success = 0,
    InvalidParameter = 1,
    InvalidState = 2,
    OutOfMemory = 3,
    NotSupported = 4,
    TimedOut = 5,
    GenericFailure = 6,
};

/// Returns the message of a code, for example "Invalid parameter"; valid as long as the
/// library is loaded.
OSTREL_API const char* getMessage(ReturnCode code);

/// Returns the name that clients see beside the number, for example "InvalidParameter".
OSTREL_API const char* getName(ReturnCode code);

} // namespace Ostrel
