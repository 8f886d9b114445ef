#pragma once

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::Test {

/// What one line of a transcript says, and who says it.
struct TranscriptLine {
    enum class Mark : char {
        Request = '>',
        Reply = '<',
        Notification = '!', ///< heard on a WebSocket alone
        Clock = '@', ///< seconds that pass, "+12s"
    };

    Mark mark;
    std::string text;
    std::size_t number; ///< of the line in its file, from 1
};

/// Stands in a transcript for the number that the service gives a context.
constexpr std::string_view contextVariable = "$context";

inline std::string transcriptPath(const std::string& name) {
    return OSTREL_TRANSCRIPTS "/" + name + ".txt";
}

/// Reads tests/wire/NAME.txt: a line is a mark, a blank and what is said; "#" begins a comment.
/// @throws std::runtime_error  a line is neither, or there are none
inline std::vector<TranscriptLine> readTranscript(const std::string& name) {
    std::ifstream file(transcriptPath(name));
    std::vector<TranscriptLine> lines;
    std::size_t number = 0;
    for (std::string line; std::getline(file, line);) {
        ++number;
        if (line.empty() || line.front() == '#')
            continue;
        if (line.size() < 3 || std::string_view("><!@").find(line[0]) == std::string_view::npos ||
            line[1] != ' ')
            throw std::runtime_error(name + ".txt has a line without a mark: " + line);
        lines.push_back({TranscriptLine::Mark(line[0]), line.substr(2), number});
    }
    if (lines.empty())
        throw std::runtime_error(name + ".txt says nothing");
    return lines;
}

/// Has a transcript say something else in the line of this number.
inline void mendTranscript(const std::string& name, std::size_t number, const std::string& text) {
    std::string mended;
    {
        std::ifstream file(transcriptPath(name));
        std::size_t at = 0;
        for (std::string line; std::getline(file, line);)
            mended += (++at == number ? line.substr(0, 2) + text : line) + "\n";
    }
    std::ofstream(transcriptPath(name)) << mended;
}

/// The names of all transcripts.
inline std::vector<std::string> findTranscripts() {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(OSTREL_TRANSCRIPTS))
        if (entry.path().extension() == ".txt" && entry.path().filename() != "CMakeLists.txt")
            names.push_back(entry.path().stem().string());
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace Ostrel::Test
