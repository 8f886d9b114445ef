#include "tests/support/Child.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <set>
#include <sstream>

using Ostrel::Test::Child;

namespace {

std::string outputOf(const std::vector<std::string>& arguments) {
    Child child(OSTREL_TV_PROGRAM, arguments);
    auto output = child.readOutput();
    EXPECT_EQ(child.wait(), 0);
    return output;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// Returns the first words of the lines behind a title.
std::vector<std::string> commandsOf(const std::string& help) {
    std::vector<std::string> commands;
    bool isThere = false;
    for (const auto& line : linesOf(help)) {
        if (isThere && line.starts_with("  ") && line[2] != ' ')
            commands.push_back(line.substr(2, line.find(' ', 2) - 2));
        else if (!line.starts_with("  "))
            isThere = line == "Commands:";
    }
    return commands;
}

/// Returns the examples of a help, of which those that need each other stand together.
std::vector<std::string> examplesOf(const std::string& help) {
    std::vector<std::string> examples;
    bool isThere = false;
    for (const auto& line : linesOf(help)) {
        if (!line.starts_with("  "))
            isThere = line == "Examples:" || line == "Example:";
        else if (isThere && line.find("$context\"") != std::string::npos)
            examples.back() += " && " + line.substr(2);
        else if (isThere)
            examples.push_back(line.substr(2));
    }
    return examples;
}

/// Returns the examples in the help of a command and of all commands in it.
std::vector<std::string> collectExamples(std::vector<std::string> path) {
    path.emplace_back("--help");
    const auto help = outputOf(path);
    path.pop_back();
    auto examples = examplesOf(help);
    EXPECT_FALSE(examples.empty()) << help;
    for (const auto& command : commandsOf(help)) {
        path.push_back(command);
        const auto more = collectExamples(path);
        examples.insert(examples.end(), more.begin(), more.end());
        path.pop_back();
    }
    return examples;
}

bool has(const std::string& text, const std::string& part) {
    return text.find(part) != std::string::npos;
}

/// A host whose clock stands in its guide, and shells in which ostrel-tv talks to it.
class Stage {
public:
    Stage() : host_(OSTREL_TVD_PROGRAM, {"--listen", "127.0.0.1:0", "--fake-time", "--log-level", "error"}) {
        const auto line = host_.readLine();
        const auto at = line.find("127.0.0.1:");
        EXPECT_NE(at, std::string::npos) << line;
        environment_ = {"OSTREL_TV_URL=" + line.substr(at, line.size() - at - 1)};
    }
    ~Stage() {
        if (!hasEnded_)
            end();
    }

    Stage(const Stage&) = delete;
    Stage& operator=(const Stage&) = delete;

    void end() {
        hasEnded_ = true;
        host_.terminate();
        EXPECT_EQ(host_.wait(), 0);
    }

    /// Starts a line of a help; its pipe ends before jq where that is not there.
    std::unique_ptr<Child> start(std::string line) const {
        static const bool hasJq = std::system("command -v jq >/dev/null") == 0;
        if (const auto pipe = line.find(" | jq"); pipe != std::string::npos && !hasJq)
            line.resize(pipe);
        const auto programs = std::filesystem::path(OSTREL_TV_PROGRAM).parent_path().string();
        return std::make_unique<Child>(
            "/bin/sh", std::vector<std::string>{"-c", "PATH=$0:$PATH\n" + line, programs}, "", environment_);
    }

    std::string run(const std::string& line) const {
        const auto child = start(line);
        auto output = child->readOutput();
        EXPECT_EQ(child->wait(), 0) << line << "\n" << child->readErrors();
        return output;
    }

    /// Runs a line that goes on until its scan is stopped.
    void scan(const std::string& line) const {
        const auto child = start(line);
        auto shown = child->readLine();
        if (has(line, "clear")) // says that it is done before the scan begins
            shown = child->readLine();
        EXPECT_NE(shown, "") << line;
        run("ostrel-tv scan stop");
        child->readOutput();
        EXPECT_EQ(child->wait(), 0) << line << "\n" << child->readErrors();
    }

private:
    Child host_;
    bool hasEnded_ = false;
    std::vector<std::string> environment_;
};

TEST(ExamplesTest, EveryOneWorks) {
    auto examples = collectExamples({});
    // What changes the list of services comes late, and the weather behind all that it is for.
    const auto rank = [](const std::string& line) {
        return has(line, "weather") ? 2 : has(line, "scan") || has(line, "transponders") ? 1 : 0;
    };
    std::stable_sort(examples.begin(), examples.end(),
                     [&](const std::string& a, const std::string& b) { return rank(a) < rank(b); });
    const Stage stage;
    std::set<std::string> done;
    for (const auto& line : examples) {
        if (has(line, "ostrel-tv watch") || has(line, "--follow") || has(line, "record.jsonl") ||
            !done.insert(line).second)
            continue; // these have tests of their own
        SCOPED_TRACE(line);
        if (has(line, "scan blind") || has(line, "scan start"))
            stage.scan(line);
        else
            EXPECT_NE(stage.run(line), "") << "nothing is shown";
    }
    EXPECT_GT(done.size(), 30U);
}

TEST(ExamplesTest, WatchingGoesOnUntilTheConnectionIsLost) {
    std::size_t count = 0;
    auto lines = examplesOf(outputOf({"watch", "--help"}));
    for (const auto& line : examplesOf(outputOf({"traffic", "--help"}))) {
        if (has(line, "--follow"))
            lines.push_back(line);
    }
    for (const auto& line : lines) {
        Stage stage;
        const auto scanning = stage.start("ostrel-tv scan blind");
        EXPECT_NE(scanning->readLine(), "");
        const auto child = stage.start(line);
        EXPECT_NE(child->readLine(), "") << line;
        stage.end();
        for (const auto& each : {scanning.get(), child.get()}) {
            each->readOutput();
            const auto status = each->wait();
            EXPECT_EQ(status, has(line, "|") && each == child.get() ? 0 : 3) << each->readErrors();
        }
        ++count;
    }
    EXPECT_EQ(count, 4U);
}

TEST(ExamplesTest, SystemsClockIsToldToBeFarFromTheGuide) {
    // The guide of the host is of 2011: whenever this runs it is over.
    Child host(OSTREL_TVD_PROGRAM, {"--listen", "127.0.0.1:0", "--log-level", "error"});
    const auto line = host.readLine();
    const auto at = line.find("127.0.0.1:");
    ASSERT_NE(at, std::string::npos) << line;
    for (const std::vector<std::string>& command : {std::vector<std::string>{"now"},
                                                    {"now", "1"},
                                                    {"guide", "--from", "now"},
                                                    {"guide", "--from", "-1h", "--to", "+1h"}}) {
        Child child(OSTREL_TV_PROGRAM, command, {},
                    {"OSTREL_TV_URL=" + line.substr(at, line.size() - at - 1)});
        const auto output = child.readOutput();
        EXPECT_EQ(child.wait(), 0);
        EXPECT_TRUE(has(output, "its whole guide is over;\nostrel-tvd --today")) << output;
    }
    host.terminate();
    EXPECT_EQ(host.wait(), 0);
}

} // namespace
