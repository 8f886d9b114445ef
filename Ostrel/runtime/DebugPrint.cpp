#include "Ostrel/runtime/DebugPrint.h"

#include "Ostrel/runtime/LineLimit.h"
#include "Ostrel/runtime/Metric.h"
#include "Ostrel/runtime/QuietExceptions.h"
#include "Ostrel/text/Printable.h"

#include <spdlog/logger.h>
#include <spdlog/pattern_formatter.h>
#include <spdlog/sinks/stdout_color_sinks.h>

#include <algorithm>
#include <atomic>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
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

constexpr Metric::Family dropped{"ostrel_log_lines_dropped_total", "Lines that the log lacks, by why.",
                                 "reason"};
Counter repeatedLines(dropped, "repeated"); ///< a place has written its few of this second
Counter blockedLines(dropped, "blocked"); ///< standard error takes nothing
Counter memoryLines(dropped, "memory");

struct Log {
    std::atomic<DebugLevel> level = DebugLevel::Information;
    std::mutex mutex; ///< guards what follows and is held while the sink runs
    DebugSink sink; ///< empty: standard error
    std::atomic<bool> hasSink = false; ///< may be looked at without the lock
    LineLimit limit; ///< of standard error
    bool isFlushedAtExit = false;
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

/// Shows a level by the name that we have for it, where spdlog's pattern would show its own.
class LevelName : public spdlog::custom_flag_formatter {
public:
    void format(const spdlog::details::log_msg& message, const std::tm&, spdlog::memory_buf_t& out) override {
        const std::string_view name = nameOf(message.level);
        out.append(name.data(), name.data() + name.size());
    }
    std::unique_ptr<custom_flag_formatter> clone() const override { return std::make_unique<LevelName>(); }

private:
    static std::string_view nameOf(spdlog::level::level_enum level) {
        switch (level) {
        case spdlog::level::err:
            return "error";
        case spdlog::level::warn:
            return "warning";
        case spdlog::level::info:
            return "information";
        default:
            return "progress";
        }
    }
};

/// In colour when standard error is a terminal, unless NO_COLOR is set to something.
std::unique_ptr<spdlog::logger> makeLogger() {
    const char* const noColor = std::getenv("NO_COLOR");
    auto sink = std::make_shared<spdlog::sinks::stderr_color_sink_mt>(
        noColor != nullptr && *noColor != '\0' ? spdlog::color_mode::never : spdlog::color_mode::automatic);
    auto formatter = std::make_unique<spdlog::pattern_formatter>();
    formatter->add_flag<LevelName>('*').set_pattern("%Y-%m-%dT%H:%M:%S.%e%z %^%*%$ %v");
    auto logger = std::make_unique<spdlog::logger>("ostrel", std::move(sink));
    logger->set_level(spdlog::level::trace); // lines have passed our own filter
    logger->set_formatter(std::move(formatter));
    return logger;
}

void writeToStandardError(const DebugLine& line, DebugLevel level) {
    if (level > log().level.load(std::memory_order_relaxed))
        return;
    if (!takesLine()) {
        blockedLines.increment();
        return;
    }
    static auto& logger = *makeLogger().release();
    logger.log(severity(level), "[{}:{}] {}", line.module, line.line,
               std::string_view(line.text).substr(0, longestLine));
}

/// The level at which standard error shows what is printed in that format.
DebugLevel shownLevel(DebugLevel level, std::string_view format) {
    const bool quiet =
        QuietExceptions::areWanted() &&
        (format == throwingException || format == caughtException || format == caughtUnknownException);
    return quiet ? std::max(level, DebugLevel::Progress) : level;
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

/// Tells how many lines were left out, but for those of this second.
void tellLeftOutUnderLock(Log& state, LineLimit::Clock::time_point now) {
    for (const auto& [place, lines] : state.limit.takeLeftOut(now))
        writeToStandardError({DebugLevel(place.level), place.module, place.line,
                              std::to_string(lines) + " more lines like these were left out"},
                             DebugLevel(place.level));
}

/// Nobody writes a line any more that would tell of those before it.
void tellLeftOutAtExit() noexcept {
    try {
        auto& state = log();
        const std::lock_guard lock(state.mutex);
        tellLeftOutUnderLock(state, LineLimit::Clock::time_point::max());
    } catch (...) {
        // The line is dropped, as every other would be.
    }
}

/// Whether standard error has room for a line of that place.
bool admit(const LineLimit::Place& place) {
    auto& state = log();
    const auto now = LineLimit::Clock::now();
    const std::lock_guard lock(state.mutex);
    tellLeftOutUnderLock(state, now);
    if (state.limit.admit(place, now))
        return true;
    repeatedLines.increment();
    if (!std::exchange(state.isFlushedAtExit, true))
        std::atexit(tellLeftOutAtExit);
    return false;
}

void write(DebugLine line, std::string_view raw, DebugLevel shown) {
    if (raw.ends_with('\n'))
        raw.remove_suffix(1);
    appendPrintable(line.text, raw);

    auto& state = log();
    const std::lock_guard lock(state.mutex);
    const SinkScope scope;
    if (state.sink)
        state.sink(line);
    else
        writeToStandardError(line, shown);
}

} // namespace

void ostrelDebugPrint(DebugLevel level, const char* module, const char*, int line, const char* format,
                      ...) noexcept {
    auto& state = log();
    const auto wanted = state.level.load(std::memory_order_relaxed);
    if (inSink || level > wanted)
        return;
    const auto shown = shownLevel(level, format);
    const bool hasSink = state.hasSink.load(std::memory_order_relaxed);
    if (!hasSink && shown > wanted)
        return;
    std::va_list arguments;
    va_start(arguments, format);
    try {
        if (hasSink || LineLimit::Lifted::isAlive() || admit({int(shown), module, line, format}))
            write({level, module, line, {}}, formatText(format, arguments), shown);
    } catch (...) {
        memoryLines.increment(); // there is nowhere else left to report it
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
    state.hasSink = bool(state.sink);
}

} // namespace Ostrel
