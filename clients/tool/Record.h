#pragma once

#include <cstdint>
#include <fstream>
#include <iosfwd>
#include <optional>
#include <string>

namespace Ostrel::Client::Tool {

/// A message of a record.
struct RecordedMessage {
    enum class Direction { Request, Reply, Notification };

    double time = 0; ///< seconds since 1970-01-01 UTC
    std::uint64_t connection = 0;
    Direction direction = Direction::Request;
    std::string method; ///< empty when it is no request
    std::string id; ///< as JSON text; empty when no reply is wanted
    std::string text;
    bool isWhole = true; ///< whether the text is all that travelled
};

/// Reads the file that `ostrel-tvd --record` writes, a line at a time: it may be large.
class Record {
public:
    /// @param path  "-" for standard input
    /// @throws SettingsError  it cannot be read
    explicit Record(const std::string& path);

    /// Returns the next message; nothing at the end. A last line that lacks its end is none.
    /// @throws SettingsError  a line is no message; names it
    std::optional<RecordedMessage> next();

    /// How many messages the record says are not in it, so far.
    std::uint64_t getMissed() const { return missed_; }

private:
    const std::string path_;
    std::ifstream file_;
    std::istream& lines_;
    std::uint64_t number_ = 0; ///< of the line
    std::uint64_t missed_ = 0;
};

} // namespace Ostrel::Client::Tool
