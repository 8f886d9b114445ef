// The documents tell what is: what they quote of the wire stands in a transcript, and the files
// that they name are there.

#include "tests/wire/Transcript.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <regex>
#include <string_view>

namespace Ostrel::Test {
namespace {

constexpr std::size_t markSize = 2; ///< of "> " before what is said

/// A fenced block's lines that quote the wire: "> " before a request, "< " before a reply, "! "
/// before a notification. A quotation that ends in "…" is the beginning of a line.
struct Quotation {
    std::string where; ///< file and line
    std::vector<std::string> lines;
};

std::vector<Quotation> readQuotations(const std::filesystem::path& path) {
    std::ifstream file(path);
    std::vector<Quotation> quotations;
    bool fenced = false;
    int number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        if (line.starts_with("```")) {
            fenced = !fenced;
            if (fenced)
                quotations.push_back({path.filename().string() + ':' + std::to_string(number), {}});
        } else if (fenced && line.find(R"({"jsonrpc")") != std::string::npos) {
            quotations.back().lines.push_back(line);
        }
    }
    std::erase_if(quotations, [](const auto& quotation) { return quotation.lines.empty(); });
    return quotations;
}

constexpr std::string_view digits = "0123456789";

/// The line with any number that is its message's id left out.
std::string withoutId(std::string line) {
    constexpr std::string_view start = R"({"jsonrpc":"2.0","id":)";
    const auto at = markSize + start.size();
    if (line.compare(markSize, start.size(), start) == 0)
        line.erase(at, line.find_first_not_of(digits, at) - at);
    return line;
}

/// Whether a document may quote the line so: any number stands for a context, and any for the id.
bool isQuoted(const std::string& quotation, const std::string& transcriptLine) {
    constexpr std::string_view rest = "…";
    const auto quotedText = withoutId(quotation);
    const auto lineText = withoutId(transcriptLine);
    std::string_view quoted = quotedText;
    std::string_view line = lineText;
    const bool isBeginning = quoted.ends_with(rest);
    if (isBeginning)
        quoted.remove_suffix(rest.size());
    for (;;) {
        const auto at = line.find(contextVariable);
        if (isBeginning && quoted.size() <= at)
            return line.starts_with(quoted);
        if (at == std::string_view::npos)
            return quoted == line;
        if (quoted.substr(0, at) != line.substr(0, at))
            return false;
        quoted.remove_prefix(at);
        const auto size = std::min(quoted.find_first_not_of(digits), quoted.size());
        if (size == 0)
            return false;
        quoted.remove_prefix(size);
        line.remove_prefix(at + contextVariable.size());
    }
}

/// Whether the quotation's lines stand in the transcript, one right behind the other.
bool standsIn(const Quotation& quotation, const std::vector<std::string>& transcript) {
    return std::search(transcript.begin(), transcript.end(), quotation.lines.begin(), quotation.lines.end(),
                       [](const auto& line, const auto& quoted) { return isQuoted(quoted, line); }) !=
           transcript.end();
}

TEST(DocsTest, WhatIsQuotedStandsInATranscript) {
    std::vector<std::vector<std::string>> transcripts;
    for (const auto& name : findTranscripts()) {
        auto& lines = transcripts.emplace_back();
        for (const auto& line : readTranscript(name))
            if (line.mark != TranscriptLine::Mark::Clock)
                lines.push_back(std::string(1, char(line.mark)) + ' ' + line.text);
    }
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(OSTREL_DOCS)) {
        // The reference is made from the description, whose examples are run against the host.
        if (entry.path().extension() != ".md" || entry.path().filename() == "reference.md")
            continue;
        for (const auto& quotation : readQuotations(entry.path())) {
            ++count;
            EXPECT_TRUE(std::any_of(transcripts.begin(), transcripts.end(),
                                    [&](const auto& lines) { return standsIn(quotation, lines); }))
                << quotation.where << " quotes what no transcript says: " << quotation.lines.front();
        }
    }
    EXPECT_GT(count, 0u);
}

TEST(DocsTest, OnlyContextsAndIdsMayDiffer) {
    constexpr const char* line =
        R"(> {"jsonrpc":"2.0","id":3,"method":"m","params":{"context":$context,"limit":5}})";
    EXPECT_TRUE(
        isQuoted(R"(> {"jsonrpc":"2.0","id":12,"method":"m","params":{"context":27,"limit":5}})", line));
    EXPECT_TRUE(isQuoted(R"(> {"jsonrpc":"2.0","id":12,"method":"m","params":{"context":27,"li…)", line));
    EXPECT_TRUE(isQuoted(R"(> {"jsonrpc":"2.0","id":12,"method":"m",…)", line));
    EXPECT_FALSE(
        isQuoted(R"(> {"jsonrpc":"2.0","id":12,"method":"m","params":{"context":27,"limit":6}})", line));
    EXPECT_FALSE(
        isQuoted(R"(> {"jsonrpc":"2.0","id":12,"method":"m","params":{"context":x,"limit":5}})", line));
    EXPECT_FALSE(
        isQuoted(R"(> {"jsonrpc":"2.0","id":12,"method":"m","params":{"context":27,"limit":5}} )", line));
    EXPECT_FALSE(
        isQuoted(R"(> {"jsonrpc":"2.0","id":null,"method":"m","params":{"context":27,"limit":5}})", line));
    EXPECT_FALSE(
        isQuoted(R"(< {"jsonrpc":"2.0","id":12,"method":"m","params":{"context":27,"limit":5}})", line));
    EXPECT_FALSE(isQuoted(R"(> {"jsonrpc":"2.0","id":12,"method":"n…)", line));
}

/// The paths that a document names in backticks, from the root of the sources; of one with a "*"
/// the directory.
std::vector<std::string> readPaths(const std::filesystem::path& document, const std::filesystem::path& root) {
    std::ifstream file(document);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    std::vector<std::string> paths;
    const std::regex name("`([A-Za-z]+/[A-Za-z0-9_./*-]*)`");
    for (std::sregex_iterator at(text.begin(), text.end(), name), end; at != end; ++at) {
        std::string path = (*at)[1];
        const auto room = path.substr(0, path.find('/'));
        if (room == "build" || !std::filesystem::is_directory(root / room))
            continue;
        if (const auto star = path.find('*'); star != std::string::npos)
            path.erase(path.rfind('/', star));
        paths.push_back(std::move(path));
    }
    return paths;
}

TEST(DocsTest, FilesThatAreNamedExist) {
    const auto root = std::filesystem::path(OSTREL_DOCS).parent_path();
    std::size_t count = 0;
    for (const auto& entry : std::filesystem::directory_iterator(OSTREL_DOCS)) {
        if (entry.path().extension() != ".md")
            continue;
        for (const auto& path : readPaths(entry.path(), root)) {
            ++count;
            EXPECT_TRUE(std::filesystem::exists(root / path)) << entry.path().filename() << " names " << path;
        }
    }
    EXPECT_GT(count, 0u);
}

} // namespace
} // namespace Ostrel::Test
