#include "TV/server/dummy/data/TextFile.h"

#include <charconv>
#include <fstream>
#include <iostream>
#include <iterator>
#include <utility>

namespace Ostrel::TV {

namespace {

constexpr std::string_view blanks = " \t\r";

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// The length of the well-formed sequence of at most three bytes at the front, or 0.
std::size_t sequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const auto follows = [&](std::size_t i) { return i < text.size() && (byte(i) & 0xC0) == 0x80; };

    if (byte(0) < 0x80)
        return 1;
    if (byte(0) >= 0xC2 && byte(0) <= 0xDF && follows(1))
        return 2;
    if (byte(0) < 0xE0 || byte(0) > 0xEF || !follows(1) || !follows(2))
        return 0;
    const unsigned character = (byte(0) & 0x0Fu) << 12 | (byte(1) & 0x3Fu) << 6 | (byte(2) & 0x3Fu);
    const bool surrogate = character >= 0xD800 && character <= 0xDFFF;
    return character < 0x800 || surrogate ? 0 : 3;
}

} // namespace

TextLine::TextLine(std::shared_ptr<const std::string> file, unsigned number, std::string text,
                   std::shared_ptr<const std::string> origin)
    : file_(std::move(file)), number_(number), text_(std::move(text)), origin_(std::move(origin)) {}

std::string TextLine::place() const {
    return (file_ ? *file_ : std::string("?")) + ":" + std::to_string(number_);
}

std::string TextLine::word() const {
    return text_.substr(0, text_.find_first_of(blanks));
}

std::string TextLine::rest() const {
    const auto end = text_.find_first_of(blanks);
    return end == std::string::npos ? std::string()
                                    : std::string(trimmed(std::string_view(text_).substr(end)));
}

std::vector<std::string> TextLine::fields() const {
    return splitText(text_, '|');
}

std::vector<std::string> TextLine::fields(std::size_t count) const {
    auto found = fields();
    if (found.size() != count)
        fail("expected " + std::to_string(count) + " fields between bars, found " +
             std::to_string(found.size()));
    return found;
}

long TextLine::number(std::string_view digits, std::string_view what, long least, long most) const {
    const bool hexadecimal = digits.starts_with("0x");
    const std::string_view plain = hexadecimal ? digits.substr(2) : digits;
    long value = 0;
    const auto [end, error] =
        std::from_chars(plain.data(), plain.data() + plain.size(), value, hexadecimal ? 16 : 10);
    if (error != std::errc() || end != plain.data() + plain.size() || value < least || value > most)
        fail(std::string(what) + " \"" + std::string(digits) + "\" is not a number from " +
             std::to_string(least) + " to " + std::to_string(most));
    return value;
}

void TextLine::checkText(std::string_view text) const {
    if (trimmed(text) != text)
        fail("blanks around a text");
    while (!text.empty()) {
        const auto length = sequenceLength(text);
        if (length == 0)
            fail("a text is not UTF-8 up to U+FFFF");
        const auto byte = static_cast<unsigned char>(text.front());
        if (byte < 0x20 || byte == 0x7F)
            fail("a text holds a control character");
        text.remove_prefix(length);
    }
}

void TextLine::fail(const std::string& reason) const {
    throw TextFileError(origin_ ? *origin_ + ": " + reason + " (" + place() + ")" : place() + ": " + reason);
}

std::vector<TextLine> readTextFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    if (!in)
        throw TextFileError(path + ":0: cannot be read");
    constexpr std::string_view from = "# from ";
    const auto file = std::make_shared<const std::string>(path);
    std::shared_ptr<const std::string> origin;
    std::vector<TextLine> lines;
    std::string raw;
    for (unsigned number = 1; std::getline(in, raw); ++number) {
        const auto text = trimmed(raw);
        if (text.starts_with(from))
            origin = std::make_shared<const std::string>(trimmed(text.substr(from.size())));
        else if (!text.empty() && text.front() != '#')
            lines.emplace_back(file, number, std::string(text), origin);
    }
    return lines;
}

void writeTextFile(const std::string& path, std::string_view bytes) {
    {
        std::ifstream in(path, std::ios::binary);
        const std::string present{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
        if (in && present == bytes)
            return;
    }
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    out.close();
    if (!out)
        throw TextFileError(path + ":0: cannot be written");
}

std::vector<std::string> splitText(std::string_view text, char separator) {
    std::vector<std::string> parts;
    if (trimmed(text).empty())
        return parts;
    for (;;) {
        const auto end = text.find(separator);
        parts.emplace_back(trimmed(text.substr(0, end)));
        if (end == std::string_view::npos)
            return parts;
        text.remove_prefix(end + 1);
    }
}

int runProgram(int count, char** arguments, int least, const char* usage,
               void (*run)(const std::vector<std::string>& arguments)) {
    if (count <= least) {
        std::cerr << "usage: " << usage << "\n";
        return 1;
    }
    try {
        run({arguments + 1, arguments + count});
        return 0;
    } catch (const std::exception& error) {
        std::cerr << error.what() << "\n";
        return 1;
    }
}

} // namespace Ostrel::TV
