#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <string>

namespace Ostrel::TV::Tool {

/// What an import came across that it could not take as it is.
enum class Finding {
    // left out
    ChannelTwice,
    ChannelNotInLineup,
    ProgrammeOfOtherChannel,
    StartUnreadable,
    OutOfRange,
    ProgrammeTwice,
    SameStart,
    // mended
    NumberMissing,
    NumberTaken,
    StopUnreadable,
    StopMissing,
    LastStopMissing,
    Overlap,
    TextTooLong,
    IdentifierTaken,
    LinkLost,
    // not known
    CategoryUnknown,
};

/// What an import did, by number.
class ImportReport {
public:
    std::size_t channels = 0, programmes = 0; ///< of the file
    std::size_t services = 0; ///< of the line-up
    std::size_t guides = 0, events = 0; ///< of the guide: a service of it need not be on the air
    std::int64_t firstStart = 0, lastEnd = 0; ///< seconds since 1970-01-01 UTC; 0 without events

    void count(Finding finding) { ++counts_[static_cast<std::size_t>(finding)]; }
    std::size_t get(Finding finding) const { return counts_[static_cast<std::size_t>(finding)]; }

    /// Remembers a category that no line of the table has; of very many different ones the first thousand.
    void addUnknownCategory(std::string name);

    /// A short table for people, with a line break at its end.
    std::string format() const;

    /// One object for scripts.
    std::string formatJson() const;

private:
    std::array<std::size_t, static_cast<std::size_t>(Finding::CategoryUnknown) + 1> counts_{};
    std::map<std::string, std::size_t> unknownCategories_;
};

} // namespace Ostrel::TV::Tool
