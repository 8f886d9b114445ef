// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/rpc/ReturnCode.h"

namespace Ostrel {

/// An operation failed; the code says how. Throw it by value, catch it by reference.
///
/// It is no std::exception: a handler has a catch clause for each.
class OSTREL_API Exception {
public:
    explicit Exception(const ReturnCode& code);
    Exception(const Exception& other);
    Exception& operator=(const Exception& other) = default;
    virtual ~Exception();

    virtual ReturnCode getCode() const;

    /// The code's message, valid as long as the library is loaded.
    virtual const char* what() const;

private:
    ReturnCode code_;
};

} // namespace Ostrel
