#include "world/Progress.h"

#include "commandline/Output.h"
#include "commandline/Table.h"

#include <cstddef>
#include <iostream>
#include <utility>

#include <unistd.h>

namespace Ostrel::TV::Tool {

Progress::Progress(std::string unit, std::uint64_t size)
    : unit_(std::move(unit)), size_(size), isShown_(::isatty(STDERR_FILENO) != 0) {}

Progress::~Progress() {
    if (isDrawn_)
        std::cerr << "\r\x1b[K" << std::flush;
}

void Progress::show(std::uint64_t done, std::optional<std::uint64_t> all) {
    const auto now = std::chrono::steady_clock::now();
    if (!isShown_ || now < next_)
        return;
    next_ = now + std::chrono::milliseconds(100);
    isDrawn_ = true;
    constexpr std::size_t width = 25;
    std::string line = std::to_string(done / size_) + " " + unit_;
    if (all && *all != 0)
        line =
            CommandLine::drawBar(done, *all, width) + " " + std::to_string(100 * done / *all) + " %  " + line;
    std::cerr << "\r" << CommandLine::cut(line, CommandLine::getTerminalWidth(STDERR_FILENO) - 1) << "\x1b[K"
              << std::flush;
}

} // namespace Ostrel::TV::Tool
