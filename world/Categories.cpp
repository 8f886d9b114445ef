#include "world/Categories.h"

#include "world/BuiltInCategories.h"

#include <algorithm>
#include <charconv>
#include <memory>

namespace Ostrel::TV::Tool {

namespace {

constexpr int mostCode = 0xFFFF;

/// ASCII alone changes its case: other letters are compared as they are.
std::string inLowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    return lower;
}

/// A code that stands for itself: "0x2E".
std::optional<int> readCode(std::string_view category) {
    int code = 0;
    if (!category.starts_with("0x") || category.size() < 3)
        return std::nullopt;
    const auto [end, error] = std::from_chars(category.begin() + 2, category.end(), code, 16);
    return error == std::errc() && end == category.end() && code >= 0 && code <= mostCode
               ? std::optional(code)
               : std::nullopt;
}

std::vector<TextLine> readLines(std::string_view text) {
    const auto file = std::make_shared<const std::string>("categories.txt");
    std::vector<TextLine> lines;
    for (unsigned number = 1; !text.empty(); ++number) {
        const auto line = text.substr(0, text.find('\n'));
        if (!line.empty() && line.front() != '#')
            lines.emplace_back(file, number, std::string(line));
        text.remove_prefix(std::min(line.size() + 1, text.size()));
    }
    return lines;
}

} // namespace

Categories::Categories() {
    for (const TextLine& line : readLines(builtInCategories()))
        add(line, codes_);
}

void Categories::add(const std::string& path) {
    std::unordered_map<std::string, int> codes;
    for (const TextLine& line : readTextFile(path))
        add(line, codes);
    for (const auto& [name, code] : codes)
        codes_[name] = code;
}

void Categories::add(const TextLine& line, std::unordered_map<std::string, int>& codes) {
    const auto fields = line.fields();
    if (fields.size() < 2)
        line.fail("expected: CODE | NAME | NAME ...");
    const int code = static_cast<int>(line.number(fields[0], "content code", 0, mostCode));
    for (std::size_t i = 1; i != fields.size(); ++i) {
        if (fields[i].empty())
            line.fail("a name is empty");
        if (!codes.emplace(inLowerCase(fields[i]), code).second)
            line.fail("\"" + fields[i] + "\" has a code already");
    }
    names_.emplace(code, fields[1]);
}

std::optional<int> Categories::findWhole(std::string_view category) const {
    const auto known = codes_.find(inLowerCase(category));
    return known == codes_.end() ? std::nullopt : std::optional(known->second);
}

std::optional<int> Categories::find(std::string_view category) const {
    if (const auto code = readCode(category))
        return code;
    if (const auto code = findWhole(category))
        return code;
    for (const char separator : {'/', ',', ';', ':'})
        for (const std::string& part : splitText(category, separator))
            if (const auto code = findWhole(part))
                return code;
    return std::nullopt;
}

std::optional<std::string_view> Categories::nameOf(int code) const {
    const auto known = names_.find(code);
    return known == names_.end() ? std::nullopt : std::optional<std::string_view>(known->second);
}

std::optional<int> Categories::choose(const std::vector<std::string_view>& categories) const {
    std::optional<int> genre;
    for (const std::string_view category : categories) {
        const auto code = find(category);
        if (code && (*code & 0xF) != 0)
            return code;
        if (!genre)
            genre = code;
    }
    return genre;
}

} // namespace Ostrel::TV::Tool
