#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::CommandLine {

/// Returns how many columns a UTF-8 text takes on a terminal.
std::size_t getWidth(std::string_view text);

/// Cuts a UTF-8 text to a number of columns, between two letters.
std::string cut(std::string text, std::size_t columns);

/// Returns a bar that is filled in part: "[###.......]".
///
/// @param part   0 to whole; more counts as whole
/// @param width  columns between the brackets
std::string drawBar(std::size_t part, std::size_t whole, std::size_t width);

/// Lays out rows in columns for a terminal, a header above them.
class Table {
public:
    enum class Align { Left, Right };

    struct Column {
        std::string title;
        Align align = Align::Left;
    };

    explicit Table(std::vector<Column> columns);

    /// @param cells  one for each column; control characters are replaced
    void add(std::vector<std::string> cells);

    /// Shortens the cells of a column, as far as they stay readable, until lines fit a width.
    void fit(std::size_t column, std::size_t totalWidth);

    /// Returns the lines. None ends in blanks.
    std::string format() const;

private:
    std::vector<std::size_t> getWidths() const;

    std::vector<Column> columns_;
    std::vector<std::vector<std::string>> rows_; ///< the titles first
};

} // namespace Ostrel::CommandLine
