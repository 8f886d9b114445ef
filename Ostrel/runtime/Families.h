// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/runtime/Metric.h"

namespace Ostrel {

// What is counted in several places. A limit or a rule does one of three things to a client, and
// whoever does it has a counter there.

/// The client is told no.
inline constexpr Metric::Family refusals{"ostrel_refusals_total",
                                         "What was refused, by the rule or limit it ran into.", "reason"};

/// The client has to wait.
inline constexpr Metric::Family holdUps{
    "ostrel_held_up_total", "How often clients had to wait for room under a limit that all share.", "reason"};

/// The client's connection ends.
inline constexpr Metric::Family cutOffs{"ostrel_connections_cut_off_total",
                                        "Connections that this side has ended, by what for.", "reason"};

/// What keeping costs that waits to be sent.
inline constexpr Metric::Family waitingBytes{"ostrel_waiting_bytes",
                                             "Memory held by what waits to be sent to clients.", "what"};

} // namespace Ostrel
