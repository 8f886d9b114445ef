// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

namespace Ostrel {

/// While it lives, the lines in which this thread tells of an exception thrown or caught (in
/// the formats that DebugPrint.h has for them) are progress on standard error, whatever their
/// level: whoever made it tells how the matter ended, once and at the level that it deserves.
///
/// Other lines, other threads and what a sink is given stay as they are. One may live inside
/// another's scope.
class OSTREL_API QuietExceptions {
public:
    QuietExceptions() noexcept;
    ~QuietExceptions();

    QuietExceptions(const QuietExceptions&) = delete;
    QuietExceptions& operator=(const QuietExceptions&) = delete;

    /// Whether one lives on this thread.
    static bool areWanted() noexcept;
};

} // namespace Ostrel
