// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/rpc/Exception.h"

#include <string>

namespace Ostrel {

/// A parameter was decoded, but its value is none that can be used: InvalidParameter, with the
/// parameter's name, which clients find in the error's data beside the code.
class OSTREL_API ParameterError : public Exception {
public:
    /// @param member  path of the member, for example "context"
    explicit ParameterError(std::string member);

    const std::string& getMember() const { return member_; }

private:
    std::string member_;
};

} // namespace Ostrel
