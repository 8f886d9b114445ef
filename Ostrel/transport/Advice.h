// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>

namespace Ostrel {

/// The ways out that a refusal names. They are the words of whoever starts the listener, which
/// alone knows how it is told things; an empty one is left out.
struct Advice {
    std::string addressInUse = {}; ///< how to choose another address
    std::string tokenNeeded = {}; ///< how to give a token
    std::string foreignHost = {}; ///< how to allow a host, which follows: "allow it with ..."
    std::string foreignOrigin = {}; ///< how to allow an origin, which follows
    std::string noPage = {}; ///< how to come by the web page, where there is none
};

} // namespace Ostrel
