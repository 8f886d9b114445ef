// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"
#include "Ostrel/rpc/ReturnCode.h"

#include <chrono>
#include <string_view>

namespace Ostrel {

/// Decides what becomes of a server's requests and notifications on their way: that they are late,
/// fail or get lost. For simulations and tests.
///
/// Any thread may ask, with or without the turn or a module lock held. The answer must come at once,
/// and whoever answers calls neither the server nor the notifier.
class OSTREL_API RPCInterceptor {
public:
    struct RequestFate {
        enum Outcome {
            Usual,
            Failed, ///< the handler does not run; the reply is the error that the code stands for
            RequestLost, ///< the handler does not run, and nobody is told
            ReplyLost, ///< the handler runs, and nobody is told
            ConnectionLost, ///< the handler runs, then the client's connection ends without a goodbye
        };

        std::chrono::milliseconds delay{0}; ///< before the request's turn has come
        Outcome outcome = Usual;
        ReturnCode code = ReturnCode::Success; ///< where it Failed
    };

    struct NotificationFate {
        std::chrono::milliseconds delay{0}; ///< for those raised behind it, too
        bool isLost = false;
    };

    virtual ~RPCInterceptor();

    /// Asked once for each request that has a handler, when those before it on its connection are done.
    /// @param name  interface and method, "INTERFACE::METHOD"
    virtual RequestFate judgeRequest(std::string_view name) noexcept = 0;

    /// Asked once for each notification that is raised.
    /// @param name  interface and operation
    virtual NotificationFate judgeNotification(std::string_view name) noexcept = 0;
};

} // namespace Ostrel
