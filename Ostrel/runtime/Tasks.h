#pragma once

#include "Ostrel/runtime/Timeline.h"

#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <list>
#include <memory>
#include <mutex>
#include <string>
#include <utility>

namespace Ostrel {

/// A task's thread and what it runs.
struct TaskIdentity {
    TaskIdentity(std::string taskName, int (*taskBody)(void*), void* taskParam)
        : name(std::move(taskName)), body(taskBody), param(taskParam) {}

    const std::string name;
    int (*const body)(void* param);
    void* const param;

    // Under Tasks::mutex, but for the thread itself, which may wait on its condition.
    pthread_t thread{};
    bool finished = false; ///< the thread does nothing more but return
    std::uint64_t awake = 0; ///< the number of its awakening; 0 while it sleeps
    Timeline::Span due{}; ///< what must have passed for it to wake; had passed when it woke
    std::condition_variable wake;
};

/// All tasks of the process and the clock that they sleep by: what Task.h and Clock.h are made of.
struct Tasks {
    /// Never destroyed: tasks may outlive the static objects.
    static Tasks& instance() {
        static auto& tasks = *new Tasks;
        return tasks;
    }

    std::mutex mutex; ///< guards what follows
    std::condition_variable quiet; ///< a task sleeps or has ended, a step has ended, or the clock was set
    std::list<std::unique_ptr<TaskIdentity>> all; ///< the finished ones too, until they are joined
    unsigned alive = 0;
    unsigned stopping = 0; ///< calls of stopTasks() under way
    std::uint64_t awakenings = 0; ///< so far
    Timeline timeline{Timeline::Real::now()};
    std::uint64_t settings = 0; ///< how often the clock was set so far

    void awakenUnderLock(TaskIdentity& task) {
        task.awake = ++awakenings;
        task.due = timeline.getPassed(Timeline::Real::now());
        task.wake.notify_one();
        limitUnderLock();
    }

    /// Makes a steered clock wait for who is late: however fast it runs, a task wakes at its time,
    /// and no other time comes before it sleeps again. Called whenever a task changes.
    void limitUnderLock() {
        if (!timeline.isSteered())
            return;
        auto limit = Timeline::Span::max();
        for (const auto& task : all)
            if (!task->finished)
                limit = std::min(limit, task->due);
        timeline.limit(limit);
        if (!timeline.isRunning())
            return; // whoever lets it run rouses them: many may sleep till the same time
        for (const auto& task : all)
            if (!task->finished && task->awake == 0 && task->due == limit)
                task->wake.notify_one();
    }

    /// Makes those who sleep look at the clock, and at whether the host stops.
    void rouseUnderLock() {
        for (const auto& task : all)
            task->wake.notify_one();
        quiet.notify_all();
    }
};

} // namespace Ostrel
