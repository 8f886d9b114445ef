#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace Ostrel::CommandLine {

/// A command line that cannot be meant. The text says what is wrong with it.
class UsageError : public std::runtime_error {
public:
    explicit UsageError(const std::string& text) : std::runtime_error(text) {}

    /// @param help  what tells more, for example "ostrel-tv scan --help"
    UsageError(const std::string& text, std::string help)
        : std::runtime_error(text), help_(std::move(help)) {}

    const std::string& getHelp() const { return help_; } ///< empty where nothing tells more

private:
    std::string help_;
};

} // namespace Ostrel::CommandLine
