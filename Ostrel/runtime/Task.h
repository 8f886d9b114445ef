// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

namespace Ostrel {

/// Names a spawned task; null names none. It is never dereferenced and may be compared.
using TaskHandle = const struct TaskIdentity*;

/// What a task does. It runs with the turn held; the result is not looked at.
using TaskBody = int (*)(void* param);

/// Thrown out of OS_TaskDelayMsec() when the host stops, so that the body unwinds. It is no
/// std::exception, and a body that catches everything must throw it on.
class OSTREL_API TaskUnwind {};

/// Starts a task, a thread that holds the turn whenever it runs module code.
///
/// Any thread may call it, with or without the turn; the task begins when the turn is its. It
/// ends by itself, or by a TaskUnwind; nobody waits for its result. What else leaves the body
/// ends the task with one line in the log.
///
/// @param name       for the log and the thread's name, which shows the first 15 bytes
/// @param priority   0 (highest) to 255; kept for the framework's other hosts and not used here
/// @param stackSize  bytes; raised to the system's minimum
/// @param param      handed to the body; must live as long as the task needs it
/// @param flags      reserved; 0
/// @returns the task, or null when 256 tasks are alive, when the system refuses another thread, or while
///          stopTasks() runs
OSTREL_API TaskHandle OS_TaskSpawnParam(const char* name, int priority, unsigned stackSize, TaskBody body,
                                        void* param, unsigned flags);

/// Sleeps at least that long by the clock, see Clock, without the turn; then waits for it.
///
/// Locks that the task still holds are released first, as at the end of a handler.
/// Called from a thread that is no task it only sleeps, by the system's clock.
///
/// @throws TaskUnwind  the host is stopping
OSTREL_API void OS_TaskDelayMsec(unsigned delayMsec);

/// Wakes every sleeping task, unwinds it, and returns when all have ended. Tasks that are
/// spawned meanwhile are refused. The caller must not hold the turn.
OSTREL_API void stopTasks();

/// How many tasks are alive now. For tests.
OSTREL_API unsigned countTasks();

/// How many tasks may be alive at once.
constexpr unsigned taskLimit = 256;

} // namespace Ostrel
