#include "Ostrel/runtime/Task.h"

#include "Ostrel/runtime/DebugPrint.h"
#include "Ostrel/runtime/Families.h"
#include "Ostrel/runtime/Mutex.h"
#include "Ostrel/runtime/Tasks.h"
#include "Ostrel/runtime/Turn.h"

#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <memory>
#include <mutex>
#include <new>
#include <string>
#include <thread>

namespace Ostrel {

namespace {

constexpr std::size_t minimumStack = 256u << 10; ///< bytes; less is not enough for a sanitizer's frames
constexpr std::size_t nameLimit = 15; ///< bytes of a thread's name that the system takes

Gauge tasks({"ostrel_tasks", "Tasks that are alive, such as those of scans."});
Counter refusedTasks(refusals, "tasks");

thread_local TaskIdentity* currentTask = nullptr;

/// Joins the tasks that have finished; they no longer want the lock.
void reapUnderLock(Tasks& state) {
    state.all.remove_if([](const std::unique_ptr<TaskIdentity>& task) {
        return task->finished && pthread_join(task->thread, nullptr) == 0;
    });
}

void runBody(const TaskIdentity& task) {
    const Turn::Hold turn;
    try {
        task.body(task.param);
    } catch (const TaskUnwind&) {
        // The host is stopping.
    } catch (...) {
        ostrelDebugPrint(DebugLevel::Error, "Task", "Task", __LINE__, "%s ended by an exception\n",
                         task.name.c_str());
    }
    Mutex::releaseHeld(task.name);
}

/// Sleeps until that has passed by the clock.
/// @returns whether the host is stopping
bool sleep(TaskIdentity& task, std::chrono::milliseconds delay) {
    auto& state = Tasks::instance();
    std::unique_lock lock(state.mutex);
    const auto& timeline = state.timeline;
    auto now = Timeline::Real::now();
    // While the clock stands, none sleeps for nothing again and again.
    const std::chrono::milliseconds least(timeline.isSteered() ? 1 : 0);
    // What a task does takes no time of a steered clock, also when that is set forward meanwhile.
    const auto woken = timeline.isSteered() ? task.due : timeline.getPassed(now);
    task.due = woken + std::max(delay, least);
    task.awake = 0;
    state.limitUnderLock();
    state.quiet.notify_all();
    while (state.stopping == 0 && task.awake == 0) {
        now = Timeline::Real::now();
        if (!timeline.isStanding() && timeline.getPassed(now) >= task.due)
            break;
        if (const auto until = timeline.when(task.due, now))
            task.wake.wait_until(lock, *until);
        else
            task.wake.wait(lock);
    }
    if (task.awake == 0)
        state.awakenUnderLock(task);
    return state.stopping > 0;
}

void* runTask(void* identity) {
    auto& task = *static_cast<TaskIdentity*>(identity);
    currentTask = &task;
    pthread_setname_np(pthread_self(), task.name.substr(0, nameLimit).c_str());

    runBody(task);

    auto& state = Tasks::instance();
    const std::lock_guard lock(state.mutex);
    task.finished = true;
    state.limitUnderLock();
    --state.alive;
    tasks.decrement();
    state.quiet.notify_all();
    return nullptr;
}

bool startThread(TaskIdentity& task, std::size_t stackSize) {
    const auto page = static_cast<std::size_t>(sysconf(_SC_PAGESIZE));
    stackSize = std::max({stackSize, minimumStack, static_cast<std::size_t>(PTHREAD_STACK_MIN)});
    stackSize = (stackSize + page - 1) / page * page;

    pthread_attr_t attributes;
    if (pthread_attr_init(&attributes) != 0)
        return false;
    const bool started = pthread_attr_setstacksize(&attributes, stackSize) == 0 &&
                         pthread_create(&task.thread, &attributes, runTask, &task) == 0;
    pthread_attr_destroy(&attributes);
    return started;
}

} // namespace

TaskHandle OS_TaskSpawnParam(const char* name, int, unsigned stackSize, TaskBody body, void* param,
                             unsigned) try {
    auto& state = Tasks::instance();
    const std::lock_guard lock(state.mutex);
    reapUnderLock(state);
    if (state.stopping > 0)
        return nullptr;
    if (state.alive >= taskLimit) {
        refusedTasks.increment();
        return nullptr;
    }
    state.all.push_back(std::make_unique<TaskIdentity>(name, body, param));
    auto& task = *state.all.back();
    state.awakenUnderLock(task);
    if (!startThread(task, stackSize)) {
        state.all.pop_back();
        state.limitUnderLock();
        refusedTasks.increment();
        return nullptr;
    }
    ++state.alive;
    tasks.increment();
    return &task;
} catch (const std::bad_alloc&) {
    refusedTasks.increment();
    return nullptr;
}

void OS_TaskDelayMsec(unsigned delayMsec) {
    const auto delay = std::chrono::milliseconds(delayMsec);
    if (!currentTask) {
        std::this_thread::sleep_for(delay);
        return;
    }
    Mutex::releaseHeld(currentTask->name);
    Turn::give();
    const bool stopped = sleep(*currentTask, delay);
    // What unwinds is module code as well.
    Turn::take();
    if (stopped)
        throw TaskUnwind();
}

void stopTasks() {
    auto& state = Tasks::instance();
    std::unique_lock lock(state.mutex);
    ++state.stopping;
    state.rouseUnderLock();
    state.quiet.wait(lock, [&] { return state.alive == 0; });
    reapUnderLock(state);
    --state.stopping;
}

unsigned countTasks() {
    auto& state = Tasks::instance();
    const std::lock_guard lock(state.mutex);
    return state.alive;
}

} // namespace Ostrel
