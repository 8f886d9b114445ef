#include "commandline/Table.h"

#include "commandline/Text.h"

#include <algorithm>
#include <cwchar>
#include <limits>
#include <numeric>

#include <locale.h>
#include <wchar.h>

namespace Ostrel::CommandLine {

namespace {

constexpr std::size_t gap = 2; // blanks between columns
constexpr std::size_t leastCut = 12; // columns that a cell keeps, however narrow the terminal is

/// Makes this thread's characters UTF-8 for a while, whatever the user's locale is.
class Utf8Locale {
public:
    Utf8Locale() : previous_(uselocale(get())) {}
    ~Utf8Locale() { uselocale(previous_); }

    Utf8Locale(const Utf8Locale&) = delete;
    Utf8Locale& operator=(const Utf8Locale&) = delete;

private:
    /// Made once: it is asked for by every cell of a table, and making it reads files.
    static locale_t get() {
        static const locale_t locale = newlocale(LC_CTYPE_MASK, "C.UTF-8", nullptr);
        return locale; // null where there is none: uselocale() then changes nothing
    }

    const locale_t previous_;
};

struct Walk {
    std::size_t bytes = 0;
    std::size_t columns = 0;
};

/// Goes over the letters of a text as far as they fit into columns.
Walk walk(std::string_view text, std::size_t columns) {
    const Utf8Locale locale;
    Walk done;
    std::mbstate_t state{};
    while (done.bytes < text.size()) {
        const auto rest = text.substr(done.bytes);
        wchar_t letter = 0;
        auto length = std::mbrtowc(&letter, rest.data(), rest.size(), &state);
        int width = 1;
        if (length == 0 || length > rest.size()) { // a null, or no UTF-8
            state = {};
            length = 1;
        } else if (const int known = ::wcwidth(letter); known >= 0) {
            width = known;
        }
        if (done.columns + static_cast<unsigned>(width) > columns)
            break;
        done.bytes += length;
        done.columns += static_cast<unsigned>(width);
    }
    return done;
}

} // namespace

std::size_t getWidth(std::string_view text) {
    return walk(text, std::numeric_limits<std::size_t>::max()).columns;
}

std::string cut(std::string text, std::size_t columns) {
    text.resize(walk(text, columns).bytes);
    return text;
}

std::string drawBar(std::size_t part, std::size_t whole, std::size_t width) {
    const auto filled = std::min(part, whole) * width / whole;
    return "[" + std::string(filled, '#') + std::string(width - filled, '.') + "]";
}

Table::Table(std::vector<Column> columns) : columns_(std::move(columns)) {
    auto& titles = rows_.emplace_back();
    for (const auto& column : columns_)
        titles.push_back(column.title);
}

void Table::add(std::vector<std::string> cells) {
    for (auto& cell : cells)
        cell = printable(cell);
    rows_.push_back(std::move(cells));
}

std::vector<std::size_t> Table::getWidths() const {
    std::vector<std::size_t> widths(columns_.size());
    for (const auto& row : rows_) {
        for (std::size_t i = 0; i < widths.size(); ++i)
            widths[i] = std::max(widths[i], getWidth(row[i]));
    }
    return widths;
}

void Table::fit(std::size_t column, std::size_t totalWidth) {
    const auto widths = getWidths();
    const auto total = std::accumulate(widths.begin(), widths.end(), gap * (widths.size() - 1));
    if (total <= totalWidth)
        return;
    const auto room = widths[column] - std::min(total - totalWidth, widths[column]);
    for (auto& row : rows_) {
        if (getWidth(row[column]) > std::max(leastCut, room))
            row[column] = cut(row[column], std::max(leastCut, room) - 1) + "\u2026";
    }
}

std::string Table::format() const {
    const auto widths = getWidths();
    std::string text;
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < widths.size(); ++i) {
            const std::string fill(widths[i] - getWidth(row[i]), ' ');
            line += columns_[i].align == Align::Left ? row[i] + fill : fill + row[i];
            line.append(gap, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        text += line + '\n';
    }
    return text;
}

} // namespace Ostrel::CommandLine
