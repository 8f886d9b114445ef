#include "Ostrel/runtime/TaskStepper.h"

#include "Ostrel/runtime/Tasks.h"

#include <algorithm>

namespace Ostrel {

TaskStepper::TaskStepper() {
    auto& state = Tasks::instance();
    const std::lock_guard lock(state.mutex);
    state.stepped = true;
}

TaskStepper::~TaskStepper() {
    stopTasks();
    auto& state = Tasks::instance();
    const std::lock_guard lock(state.mutex);
    state.stepped = false;
}

std::vector<TaskHandle> TaskStepper::getTasks() const {
    auto& state = Tasks::instance();
    const std::lock_guard lock(state.mutex);
    std::vector<TaskHandle> alive;
    for (const auto& task : state.all)
        if (!task->finished)
            alive.push_back(task.get());
    return alive;
}

std::optional<unsigned> TaskStepper::step(TaskHandle handle) {
    auto& state = Tasks::instance();
    std::unique_lock lock(state.mutex);
    const auto found = std::find_if(state.all.begin(), state.all.end(),
                                    [&](const auto& task) { return task.get() == handle; });
    if (found == state.all.end() || (*found)->finished)
        return std::nullopt;
    auto& task = **found;
    task.awaitsStep = false;
    state.wake.notify_all();
    state.quiet.wait(lock, [&] { return task.awaitsStep || task.finished; });
    return task.finished ? std::nullopt : std::optional(task.delayMsec);
}

} // namespace Ostrel
