#pragma once

#include <memory>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::TV {

/// What stopped the reading of a data file; the text is "file:line: reason", and where the line was
/// made from another one "origin: reason (file:line)".
class TextFileError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
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

    /// Where it stands, "file:line".
    std::string place() const;

    /// The line's first word, and what follows it after the blanks.
    std::string word() const;
    std::string rest() const;

    /// The fields between bars, without the blanks around them.
    std::vector<std::string> fields() const;

    /// The fields of a table row; anything but `count` of them is an error.
    std::vector<std::string> fields(std::size_t count) const;

    /// Reads a whole number, decimal or, after "0x", hexadecimal.
    long number(std::string_view digits, std::string_view what, long least, long most) const;

    /// Checks a text for viewers: UTF-8 up to U+FFFF, no control characters, no blanks around it.
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
