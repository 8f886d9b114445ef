// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/rpc/RPCObserver.h"

namespace Ostrel {

/// Writes a line to the log for every request, once it is done.
class OSTREL_API RequestLog final : public RPCObserver {
public:
    void passed(const Message& message) noexcept override;
};

} // namespace Ostrel
