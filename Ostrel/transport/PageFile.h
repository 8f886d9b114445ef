// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string_view>

namespace Ostrel {

/// A file of the web page that a listener serves. It refers to texts that live longer than that.
struct PageFile {
    /// Where it is found: "/index.html" for the page itself, "/assets/index-Bx1z9aQc.js".
    std::string_view path;
    const char* type; ///< for Content-Type
    std::string_view bytes;
    std::string_view gzip; ///< the same, compressed; empty where that saves nothing
    std::string_view tag; ///< changes with the bytes; letters and digits
    bool isForever; ///< its path changes with its bytes, so that nobody has to ask again
};

} // namespace Ostrel
