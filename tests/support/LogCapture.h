#pragma once

#include "Ostrel/runtime/DebugPrint.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace Ostrel::Test {

/// Collects the debug lines that are written while it lives, in place of standard error.
class LogCapture {
public:
    explicit LogCapture(DebugLevel level = DebugLevel::Information) {
        setDebugLevel(level);
        setDebugSink([this](const DebugLine& line) {
            const std::lock_guard lock(mutex_);
            lines_.push_back(line);
        });
    }
    ~LogCapture() {
        setDebugSink({});
        setDebugLevel(DebugLevel::Information);
    }

    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<DebugLine> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

    std::vector<std::string> texts() const { return textsOf(lines()); }

    /// The lines so far, which are forgotten.
    std::vector<DebugLine> take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }

    /// The texts of the lines so far, which are forgotten.
    std::vector<std::string> takeTexts() { return textsOf(take()); }

private:
    static std::vector<std::string> textsOf(const std::vector<DebugLine>& lines) {
        std::vector<std::string> texts;
        for (const auto& line : lines)
            texts.push_back(line.text);
        return texts;
    }

    // One for all, or a sanitizer takes those at the same place of the stack for the same lock.
    static inline std::mutex mutex_;
    std::vector<DebugLine> lines_;
};

} // namespace Ostrel::Test
