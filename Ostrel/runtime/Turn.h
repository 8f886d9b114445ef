// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

namespace Ostrel {

/// The right to run module code: one per process, handed on in the order of asking.
///
/// Handlers and tasks run one at a time because each holds the turn while it runs. The
/// module's own rules about threads can stay simple for that reason. A task gives the turn
/// up while it sleeps; handlers of an interface that only reads run without it.
///
/// The turn is not recursive: a thread that holds it must not take it again.
class OSTREL_API Turn {
public:
    /// Waits for the turn, behind everybody who asked before.
    static void take();

    /// Takes the turn if nobody holds it or waits for it; returns whether it did.
    static bool tryTake();

    /// Hands the turn on. The calling thread must hold it.
    static void give();

    /// Whether the turn is free, or has been handed on since the last time this was asked: nobody keeps it
    /// for good. Any one thread may ask.
    static bool isMoving();

    /// How many wait for the turn now. For tests.
    static unsigned countWaiting();

    /// Holds the turn for one scope.
    class Hold {
    public:
        Hold() { take(); }
        ~Hold() { give(); }

        Hold(const Hold&) = delete;
        Hold& operator=(const Hold&) = delete;
    };

    /// Gives the turn up for one scope, if the calling thread holds it, and waits for it at the end.
    ///
    /// For a handler that waits for others, or works for long on what is its own alone. What it
    /// knows of the module may have changed when the scope ends.
    class Pause {
    public:
        Pause();
        ~Pause();

        Pause(const Pause&) = delete;
        Pause& operator=(const Pause&) = delete;

    private:
        const bool held_;
    };
};

} // namespace Ostrel
