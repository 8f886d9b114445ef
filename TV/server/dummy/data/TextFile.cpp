#include "TV/server/dummy/data/TextFile.h"

#include "TV/server/dummy/data/ViewerText.h"
#include "TV/server/dummy/world/FileKind.h"

#include <charconv>
#include <fstream>
#include <iostream>
#include <iterator>
#include <utility>

namespace Ostrel::TV {

namespace {

constexpr std::string_view blanks = " \t\r";

/// Room for the longest text and the word in front of it. What is said of a line may hold all of it.
constexpr std::size_t longestLine = 70'000;

std::string_view trimmed(std::string_view text) {
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// Whether it looks like "file:line"; not every comment that tells where something is from does.
bool isPlace(std::string_view text) {
    const auto colon = text.find_last_not_of("0123456789");
    return colon != std::string_view::npos && colon + 1 != text.size() && text[colon] == ':';
}

} // namespace

TextLine::TextLine(std::shared_ptr<const std::string> file, unsigned number, std::string text,
                   std::shared_ptr<const std::string> origin)
    : file_(std::move(file)), number_(number), text_(std::move(text)), origin_(std::move(origin)) {}

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

std::vector<std::string> TextLine::fields(std::size_t least, std::size_t most) const {
    auto found = fields();
    if (found.size() < least || found.size() > most)
        fail("expected " + std::to_string(least) + (least == most ? "" : " to " + std::to_string(most)) +
             " fields between bars, found " + std::to_string(found.size()));
    found.resize(most);
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
    if (const char* const fault = findTextFault(text))
        fail(fault);
}

std::string TextLine::place() const {
    const std::string place = (file_ ? *file_ : std::string("?")) + ":" + std::to_string(number_);
    return origin_ ? *origin_ + ": " + place : place;
}

void TextLine::fail(const std::string& reason) const {
    throw TextFileError(place(), reason);
}

void readTextFile(const std::string& path, WorldProblems& problems,
                  const std::function<void(const TextLine&)>& read) {
    std::ifstream in;
    // A pipe would have its reader wait.
    if (kindOf(path) == FileKind::File)
        in.open(path, std::ios::binary);
    if (!in.is_open())
        return problems.add(path + ":0", "cannot be read");
    constexpr std::string_view from = "# from ";
    constexpr std::string_view byteOrderMark = "\uFEFF"; // some editors begin a file with it
    const auto file = std::make_shared<const std::string>(path);
    std::shared_ptr<const std::string> origin;
    std::string raw;
    for (unsigned number = 1; std::getline(in, raw); ++number) {
        if (number == 1 && raw.starts_with(byteOrderMark))
            raw.erase(0, byteOrderMark.size());
        const auto text = trimmed(raw);
        if (text.starts_with(from) && isPlace(text.substr(from.size())))
            origin = std::make_shared<const std::string>(text.substr(from.size()));
        if (text.empty() || text.front() == '#')
            continue;
        if (text.size() > longestLine) {
            problems.add(path + ":" + std::to_string(number),
                         "the line is longer than " + std::to_string(longestLine) + " bytes");
            continue;
        }
        try {
            read(TextLine(file, number, std::string(text), origin));
        } catch (const TextFileError& mistake) {
            problems.add(mistake.problem());
        }
    }
    if (in.bad())
        problems.add(path + ":0", "cannot be read to its end");
}

std::vector<TextLine> readTextFile(const std::string& path) {
    WorldProblems problems;
    std::vector<TextLine> lines;
    readTextFile(path, problems, [&](const TextLine& line) { lines.push_back(line); });
    if (problems.count() != 0)
        throw TextFileError(problems.text());
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
        throw TextFileError(path + ":0", "cannot be written");
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
