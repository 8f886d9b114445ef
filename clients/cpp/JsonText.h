// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace Ostrel::Client {

/// A value that may be of several types, kept as JSON text: 7, "seven", null.
struct JsonText {
    std::string text;

    bool operator==(const JsonText&) const = default;
};

} // namespace Ostrel::Client
