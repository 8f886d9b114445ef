#pragma once

#include <functional>
#include <string>
#include <vector>

namespace Ostrel::CommandLine {

/// Takes a value from the command line.
///
/// It may throw UsageError: the parser puts the name of the option before the text.
using Reader = std::function<void(const std::string&)>;

/// An option of a command, or an argument: that has no dashes before its name.
struct Option {
    std::string name{}; ///< "--limit", "-h,--help"; of an argument "CHANNEL"
    std::string value{}; ///< what stands for the value: "N"; empty with choices, and for a flag
    std::string description{};
    Reader read{}; ///< for a flag "true" or "false"
    std::string standard{}; ///< the value when none is given; empty: not worth telling
    std::vector<std::string> choices{}; ///< the values there are, in any case; empty: others too
    std::string environment{}; ///< the variable that gives the value when the line does not
    bool isRequired = false;
    bool mayRepeat = false;
    bool isFile = false; ///< the value is the path of a file
    bool isAnyOf = false; ///< choices are proposed, others are taken too
    std::vector<std::string> excludes{}; ///< the names of options of this command
    std::vector<std::string> needs{}; ///< likewise

    bool isArgument() const { return !name.starts_with('-'); }
    bool isFlag() const { return !isArgument() && value.empty() && choices.empty(); }

    /// Whether it goes by this name on the command line.
    bool isCalled(const std::string& word) const;

    /// Returns each of its names: "-h" and "--help".
    std::vector<std::string> getNames() const;

    /// Returns what stands for the value in a help: "N", "all|new"; empty for a flag.
    std::string getValueName() const;
};

} // namespace Ostrel::CommandLine
