// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

namespace Ostrel {

/// An object whose construction has a second step that may fail: whoever constructs it calls
/// init() once, before anything else, and only destroys it when that failed.
class OSTREL_API ComplexObject {
public:
    /// @returns false when the object cannot be used
    virtual bool init() = 0;
    virtual ~ComplexObject() = default;
};

} // namespace Ostrel
