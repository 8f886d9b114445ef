#include "world/Scripts.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace Ostrel::TV::Tool {

namespace {

constexpr std::array<std::string_view, scriptCount> names = {"Latin",  "Greek",      "Cyrillic", "Hebrew",
                                                             "Arabic", "Devanagari", "Thai",     "Kana",
                                                             "Hangul", "Han",        "emoji",    "other"};

constexpr std::size_t none = scriptCount, other = scriptCount - 1;

struct Range {
    char32_t first;
    std::size_t script; ///< up to the next range
};

// Blocks of Unicode, as coarse as a summary may be.
constexpr Range ranges[] = {
    {0, none},       {'A', 0},       {'Z' + 1, none}, {'a', 0},         {'z' + 1, none}, {0xAA, 0},
    {0xAB, none},    {0xBA, 0},      {0xBB, none},    {0xC0, 0},        {0xD7, none},    {0xD8, 0},
    {0xF7, none},    {0xF8, 0},      {0x2B0, none},   {0x370, 1},       {0x400, 2},      {0x530, other},
    {0x590, 3},      {0x600, 4},     {0x780, other},  {0x900, 5},       {0x980, other},  {0xE00, 6},
    {0xE80, other},  {0x1100, 8},    {0x1200, other}, {0x1AB0, none},   {0x1B00, other}, {0x1D00, 0},
    {0x1DC0, none},  {0x1E00, 0},    {0x1F00, 1},     {0x2000, none},   {0x2600, 10},    {0x27C0, none},
    {0x2C00, other}, {0x2E80, 9},    {0x3000, none},  {0x3040, 7},      {0x3100, other}, {0x3130, 8},
    {0x3190, other}, {0x31F0, 7},    {0x3200, none},  {0x3400, 9},      {0xA000, other}, {0xAC00, 8},
    {0xD800, none},  {0xF900, 9},    {0xFB00, 0},     {0xFB1D, 3},      {0xFB50, 4},     {0xFE00, none},
    {0xFE70, 4},     {0xFEFF, none}, {0xFF21, 0},     {0xFF3B, none},   {0xFF41, 0},     {0xFF5B, none},
    {0xFF66, 7},     {0xFFA0, 8},    {0xFFE0, none},  {0x10000, other}, {0x1F000, 10},   {0x20000, 9},
    {0x32000, none},
};

std::size_t scriptOf(char32_t character) {
    const auto after = std::upper_bound(std::begin(ranges), std::end(ranges), character,
                                        [](char32_t c, const Range& range) { return c < range.first; });
    return std::prev(after)->script;
}

} // namespace

std::string_view scriptName(std::size_t script) {
    return names[script];
}

ScriptSet findScripts(std::string_view text) {
    ScriptSet found;
    for (std::size_t i = 0; i < text.size();) {
        const auto lead = static_cast<unsigned char>(text[i]);
        const std::size_t size = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
        char32_t character = size == 1 ? lead : lead & (0x7Fu >> size);
        for (std::size_t j = 1; j < size && i + j < text.size(); ++j)
            character = character << 6 | (static_cast<unsigned char>(text[i + j]) & 0x3F);
        i += size;
        if (const auto script = scriptOf(character); script != none)
            found.set(script);
    }
    return found;
}

} // namespace Ostrel::TV::Tool
