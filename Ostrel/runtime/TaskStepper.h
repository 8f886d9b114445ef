#pragma once

#include "Ostrel/runtime/Task.h"

#include <optional>
#include <vector>

namespace Ostrel {

/// Hands the tasks' clock to a test: as long as it lives, a task begins and wakes only when
/// it is stepped, however long it asked to sleep.
///
/// One at a time, made while no task is alive. The caller must not hold the turn.
class OSTREL_API TaskStepper {
public:
    TaskStepper();

    /// Stops all tasks; those that never began never run.
    ~TaskStepper();

    TaskStepper(const TaskStepper&) = delete;
    TaskStepper& operator=(const TaskStepper&) = delete;

    /// The tasks that are alive, in the order in which they were spawned.
    std::vector<TaskHandle> getTasks() const;

    /// Lets a task run until it sleeps or ends.
    /// @returns how many milliseconds it sleeps now; nothing when it is not alive any more
    std::optional<unsigned> step(TaskHandle task);
};

} // namespace Ostrel
