// Any arguments for any of the programs: they are a command that can run, ask for a text, or are refused in one line.
//
// The first byte chooses the program; the rest is cut at each NUL.

#include "commandline/Parser.h"
#include "commandline/Text.h"
#include "commandline/UsageError.h"
#include "fuzz/Require.h"
#include "fuzz/programs/Programs.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <vector>

using namespace Ostrel::CommandLine;
using Ostrel::Fuzz::require;

namespace {

/// Puts a count in place of everything that a command does. Its readers may write into what that keeps.
void disarm(Command& command, unsigned& runs) {
    if (command.run)
        command.run = [&runs, kept = std::move(command.run)] { ++runs; };
    for (auto& each : command.commands)
        disarm(each, runs);
}

bool isControl(unsigned char c) {
    return c < 0x20 || c == 0x7f;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    using namespace Ostrel::Test;
    static constexpr std::array describe = {describeTv, describeTvd, describeWorld};
    if (size == 0)
        return 0;
    auto [place, program] = describe[data[0] % describe.size()]();
    unsigned runs = 0;
    disarm(program, runs);

    std::vector<std::string> words{program.name};
    std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    while (!rest.empty()) {
        const auto end = std::min(rest.find('\0'), rest.size());
        words.emplace_back(rest.substr(0, end));
        rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    std::vector<const char*> arguments;
    for (const auto& word : words)
        arguments.push_back(word.c_str());
    arguments.push_back(nullptr);

    std::string printed;
    try {
        const auto run = parse(program, int(words.size()), arguments.data(),
                               [&](const std::string& text) { printed += text; });
        require(run != nullptr, "what is good can run");
        run();
    } catch (const UsageError& error) {
        const auto text = printable(error.what());
        require(!text.empty() && std::none_of(text.begin(), text.end(), isControl), "a refusal is a line");
        require(text.size() < 4 * size + 1000, "a refusal is no longer than it must be");
        require(runs == 0 && printed.empty(), "what is refused does nothing");
        return 0;
    }
    require(runs + (printed.empty() ? 0 : 1) == 1, "one thing is done");
    require(std::none_of(printed.begin(), printed.end(), [](char c) { return isControl(c) && c != '\n'; }),
            "help is text");
    return 0;
}
