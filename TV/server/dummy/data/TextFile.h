#pragma once

#include "TV/server/dummy/data/WorldProblems.h"

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::TV {

/// What is wrong with a data file; the text is "file:line: reason".
class TextFileError : public std::runtime_error {
public:
    explicit TextFileError(const std::string& text) : std::runtime_error(text) {}
    TextFileError(std::string place, std::string reason)
        : std::runtime_error(place + ": " + reason), problem_{std::move(place), std::move(reason)} {}

    const WorldProblem& problem() const { return problem_; }

private:
    WorldProblem problem_;
};

/// A line of a data file, without the blanks around it, and where it stands.
class TextLine {
public:
    TextLine() = default;
    /// `origin` is the place of the line that this one was made from; null when it was not.
    TextLine(std::shared_ptr<const std::string> file, unsigned number, std::string text,
             std::shared_ptr<const std::string> origin = nullptr);

    const std::string& text() const { return text_; }
    unsigned lineNumber() const { return number_; }

    /// Where it stands, "file:line", behind the place of the line that it was made from, if any.
    std::string place() const;

    /// That place; null when there is none.
    const std::string* origin() const { return origin_.get(); }

    /// The line's first word, and what follows it after the blanks.
    std::string word() const;
    std::string rest() const;

    /// The fields between bars, without the blanks around them.
    std::vector<std::string> fields() const;

    /// The fields of a table row; anything but `count` of them is an error.
    std::vector<std::string> fields(std::size_t count) const { return fields(count, count); }

    /// The same where those behind the first `least` may be left out: then they are empty.
    std::vector<std::string> fields(std::size_t least, std::size_t most) const;

    /// Reads a whole number, decimal or, after "0x", hexadecimal.
    long number(std::string_view digits, std::string_view what, long least, long most) const;

    /// Checks a text for viewers, see findTextFault().
    void checkText(std::string_view text) const;

    /// Throws a TextFileError for this line.
    [[noreturn]] void fail(const std::string& reason) const;

private:
    std::shared_ptr<const std::string> file_;
    unsigned number_ = 0;
    std::string text_;
    std::shared_ptr<const std::string> origin_;
};

/// The lines of a file but for blank ones and those that start with "#". One such line means
/// something: "# from PLACE" is the origin of all that follow until the next one.
std::vector<TextLine> readTextFile(const std::string& path);

/// Reads such lines one by one, to the last one: what `read` throws for a line, and that the file cannot be
/// read, goes to the problems.
void readTextFile(const std::string& path, WorldProblems& problems,
                  const std::function<void(const TextLine&)>& read);

/// Writes a file unless it holds these bytes already, so that nothing made from it is made again.
void writeTextFile(const std::string& path, std::string_view bytes);

/// Splits at a separator and takes the blanks off each part. An empty text has no parts.
std::vector<std::string> splitText(std::string_view text, char separator);

/// The main() of a program that works on data files: calls `run` with the arguments.
///
/// Returns the exit status. Fewer arguments than `least` get the usage, an exception its text
/// on standard error.
int runProgram(int count, char** arguments, int least, const char* usage,
               void (*run)(const std::vector<std::string>& arguments));

} // namespace Ostrel::TV
