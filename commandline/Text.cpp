#include "commandline/Text.h"

#include <algorithm>
#include <cstdlib>

#include <sys/ioctl.h>
#include <unistd.h>

namespace Ostrel::CommandLine {

std::string printable(std::string_view text) {
    constexpr const char* replacement = "\uFFFD";
    std::string result;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        const auto following = i + 1 < text.size() ? static_cast<unsigned char>(text[i + 1]) : 0U;
        if (byte < 0x20 || byte == 0x7f) {
            result += replacement;
        } else if (byte == 0xc2 && following >= 0x80 && following < 0xa0) { // U+0080 to U+009F
            result += replacement;
            ++i;
        } else {
            result += text[i];
        }
    }
    return result;
}

namespace {

/// Takes the next line away, without its line break.
std::string_view takeLine(std::string_view& text) {
    const auto end = std::min(text.find('\n'), text.size());
    const auto line = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return line;
}

} // namespace

std::string wrap(std::string_view text, std::size_t indent, std::size_t columns) {
    std::string result;
    std::size_t column = indent;
    bool isWhole = false; // the line before ends where it ends
    const auto breakLine = [&] {
        result += '\n';
        column = 0;
    };
    while (!text.empty()) {
        auto line = takeLine(text);
        const bool staysWhole = line.empty() || line.starts_with("  ");
        if ((staysWhole || isWhole) && !result.empty())
            breakLine();
        isWhole = staysWhole;
        if (staysWhole && !line.empty()) {
            result.append(column == 0 ? indent : 0, ' ').append(line);
            continue;
        }
        while (!line.empty()) {
            const auto end = std::min(line.find(' '), line.size());
            const auto word = line.substr(0, end);
            line.remove_prefix(std::min(end + 1, line.size()));
            const bool isFirst = result.empty() || column == 0;
            if (!isFirst && column + 1 + word.size() > columns)
                breakLine();
            if (column == 0) {
                result.append(indent, ' ');
                column = indent;
            } else if (!isFirst) {
                result += ' ';
                ++column;
            }
            result += word;
            column += word.size();
        }
    }
    return result + "\n";
}

std::size_t getTextWidth() {
    constexpr std::size_t least = 40;
    constexpr std::size_t most = 100; // longer lines are hard to read
    std::size_t width = 80;
    winsize size{};
    if (const char* columns = std::getenv("COLUMNS"); columns != nullptr && std::atoi(columns) > 0)
        width = static_cast<std::size_t>(std::atoi(columns));
    else if (::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0)
        width = size.ws_col;
    return std::clamp(width, least, most);
}

} // namespace Ostrel::CommandLine
