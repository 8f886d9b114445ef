// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <stdexcept>

namespace Ostrel {

/// Something keeps the host from starting; the text is one line for the person who starts it.
class OSTREL_API StartError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace Ostrel
