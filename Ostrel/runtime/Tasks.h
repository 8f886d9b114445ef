#pragma once

#include <pthread.h>

#include <condition_variable>
#include <list>
#include <memory>
#include <mutex>
#include <string>

namespace Ostrel {

/// A task's thread and what it runs. What stands before finished is written before the thread starts.
struct TaskIdentity {
    std::string name;
    int (*body)(void* param);
    void* param;
    pthread_t thread{};
    bool finished = false; ///< the thread does nothing more but return; under Tasks::mutex
    bool awaitsStep = false; ///< of a TaskStepper; under Tasks::mutex
    unsigned delayMsec = 0; ///< of the sleep that awaits a step; under Tasks::mutex
};

/// All tasks of the process: what Task.h does and what a TaskStepper steps.
struct Tasks {
    /// Never destroyed: tasks may outlive the static objects.
    static Tasks& instance() {
        static auto& tasks = *new Tasks;
        return tasks;
    }

    std::mutex mutex;
    std::condition_variable wake; ///< sleeping tasks wait for it
    std::condition_variable quiet; ///< a task has ended, or awaits a step
    std::list<std::unique_ptr<TaskIdentity>> all; ///< the finished ones too, until they are joined
    unsigned alive = 0;
    unsigned stopping = 0; ///< calls of stopTasks() under way
    bool stepped = false; ///< a TaskStepper lives
};

} // namespace Ostrel
