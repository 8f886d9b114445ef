#pragma once

#include "Ostrel/rpc/RPCObserver.h"

#include <string>
#include <utility>

namespace Ostrel {

/// Writes a line to the log for every request of one connection.
class RequestLog final : public RPCObserver {
public:
    /// @param client  the name of the client's end, for people
    explicit RequestLog(std::string client) : client_(std::move(client)) {}

    void requestDone(const Exchange& exchange) noexcept override;

private:
    const std::string client_;
};

} // namespace Ostrel
