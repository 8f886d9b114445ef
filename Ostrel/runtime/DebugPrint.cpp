#include "Ostrel/runtime/DebugPrint.h"

#include "Ostrel/text/Printable.h"

#include <spdlog/logger.h>
#include <spdlog/sinks/stdout_color_sinks.h>

#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <memory>
#include <mutex>
#include <string_view>
#include <utility>

#include <poll.h>
#include <unistd.h>

namespace Ostrel {

namespace {

constexpr std::size_t usualSize = 512; ///< bytes; longer lines are formatted on the heap
constexpr std::size_t longestLine = 3000; ///< bytes of a text that standard error shows

struct Log {
    std::atomic<DebugLevel> level = DebugLevel::Information;
    std::mutex mutex; ///< guards the sink and is held while it runs
    DebugSink sink; ///< empty: standard error
};

/// Never destroyed: threads may outlive the static objects.
Log& log() {
    static auto& instance = *new Log;
    return instance;
}

thread_local bool inSink = false;

/// Marks the thread as running the sink, however that ends.
struct SinkScope {
    SinkScope() { inSink = true; }
    ~SinkScope() { inSink = false; }
};

spdlog::level::level_enum severity(DebugLevel level) {
    if (level <= DebugLevel::Error)
        return spdlog::level::err;
    if (level <= DebugLevel::Warning)
        return spdlog::level::warn;
    return level <= DebugLevel::Information ? spdlog::level::info : spdlog::level::debug;
}

/// Whether standard error takes a line now. A pipe that nobody reads must not hold up the
/// service; poll() promises room for PIPE_BUF bytes, and no line is longer.
bool takesLine() {
    pollfd error{STDERR_FILENO, POLLOUT, 0};
    return ::poll(&error, 1, 0) == 1 && (error.revents & POLLOUT) != 0;
}

void writeToStandardError(const DebugLine& line) {
    if (!takesLine())
        return;
    static auto& logger = [&]() -> spdlog::logger& {
        auto made = std::make_unique<spdlog::logger>("ostrel",
                                                     std::make_shared<spdlog::sinks::stderr_color_sink_mt>());
        made->set_level(spdlog::level::trace); // lines have passed our own filter
        made->set_pattern("%Y-%m-%dT%H:%M:%S.%e%z %^%l%$ %v");
        return *made.release();
    }();
    logger.log(severity(line.level), "[{}:{}] {}", line.module, line.line,
               std::string_view(line.text).substr(0, longestLine));
}

/// Does what vsnprintf() does; an empty text when it fails.
std::string formatText(const char* format, std::va_list arguments) {
    char usual[usualSize];
    std::va_list again;
    va_copy(again, arguments);
    std::string text;
    const int length = std::vsnprintf(usual, sizeof usual, format, arguments);
    try {
        if (length >= static_cast<int>(sizeof usual)) {
            text.resize(static_cast<std::size_t>(length));
            std::vsnprintf(text.data(), text.size() + 1, format, again);
        } else if (length > 0) {
            text.assign(usual, static_cast<std::size_t>(length));
        }
    } catch (...) {
        va_end(again);
        throw;
    }
    va_end(again);
    return text;
}

void write(DebugLevel level, const char* module, int line, std::string_view raw) {
    if (raw.ends_with('\n'))
        raw.remove_suffix(1);
    DebugLine entry{level, module, line, {}};
    appendPrintable(entry.text, raw);

    auto& state = log();
    const std::lock_guard lock(state.mutex);
    const SinkScope scope;
    if (state.sink)
        state.sink(entry);
    else
        writeToStandardError(entry);
}

} // namespace

void ostrelDebugPrint(DebugLevel level, const char* module, const char*, int line, const char* format,
                      ...) noexcept {
    if (inSink || level > log().level.load(std::memory_order_relaxed))
        return;
    std::va_list arguments;
    va_start(arguments, format);
    try {
        write(level, module, line, formatText(format, arguments));
    } catch (...) {
        // The line is dropped: there is nowhere left to report it.
    }
    va_end(arguments);
}

void setDebugLevel(DebugLevel level) {
    log().level.store(level, std::memory_order_relaxed);
}

void setDebugSink(DebugSink sink) {
    auto& state = log();
    const std::lock_guard lock(state.mutex);
    state.sink.swap(sink);
}

} // namespace Ostrel
