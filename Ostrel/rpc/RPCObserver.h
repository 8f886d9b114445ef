#pragma once

#include "Ostrel/Export.h"

#include <chrono>
#include <string_view>

namespace Ostrel {

/// Is told of every request that came by a connection, once it has been carried out.
class OSTREL_API RPCObserver {
public:
    /// One request and what became of it. The texts go away with the call.
    struct Exchange {
        std::string_view interfaceName; ///< empty where the request names none
        std::string_view methodName;
        std::string_view id; ///< as JSON text; empty when no reply is wanted
        std::string_view reply; ///< as it travels; empty for none
        std::chrono::nanoseconds took; ///< from its turn to its reply
    };

    virtual ~RPCObserver();

    /// The thread is the one that carried the request out; no two at a time for one connection.
    virtual void requestDone(const Exchange& exchange) noexcept = 0;
};

} // namespace Ostrel
