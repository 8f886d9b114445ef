// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <exception>
#include <string>

namespace Ostrel {

/// A client's text could not be decoded; the message names the member and what was expected.
class OSTREL_API DecodeError : public std::exception {
public:
    /// @param member  path of the member, for example "query.timeRange.base"
    DecodeError(const std::string& message, const std::string& member);

    const char* what() const noexcept override { return message_.c_str(); }
    const std::string& getMember() const { return member_; }

private:
    std::string message_;
    std::string member_;
};

} // namespace Ostrel
