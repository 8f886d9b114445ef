#include "tests/support/Child.h"
#include "tests/support/TempDirectory.h"

#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace Ostrel::Test {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

struct Outcome {
    int status;
    std::string output, errors;
};

Outcome run(const std::vector<std::string>& arguments) {
    Child child(OSTREL_WORLD, arguments);
    auto output = child.readOutput();
    const int status = child.wait();
    return {status, std::move(output), child.readErrors()};
}

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

/// Has a made-up world, as a folder and as a file.
class WorldProgramTest : public testing::Test {
protected:
    void SetUp() override {
        for (const std::string& output : {folder_, file_}) {
            const auto made = run({"synthetic", "--services", "20", "--days", "2", "--stress", "-o", output});
            ASSERT_EQ(made.status, 0) << made.errors;
            EXPECT_EQ(made.errors, ""); // no bar where there is no terminal
            EXPECT_THAT(made.output, HasSubstr("20 services, 2 days"));
        }
    }

    const TempDirectory directory_;
    const std::string folder_ = directory_.file("made"), file_ = directory_.file("made.world");
};

TEST_F(WorldProgramTest, AFolderCompiledIsTheFile) {
    const auto compiled = directory_.file("compiled.world");
    EXPECT_EQ(run({"compile", folder_, "-o", compiled}).status, 0);
    const auto shown = run({"show", file_, "--json"}), again = run({"show", compiled, "--json"});
    EXPECT_EQ(shown.output, again.output);
    EXPECT_EQ(run({"show", folder_, "--json"}).output, shown.output);
    EXPECT_EQ(run({"compile", folder_, "-o", directory_.file("compiled")}).status, 2);
}

TEST_F(WorldProgramTest, ShowsAWorld) {
    EXPECT_THAT(run({"show", file_}).output, StartsWith("World        synthetic-7-stress\n"
                                                        "Time zone    Europe/London\n"
                                                        "Line-up      20 services: "));
    const auto services = run({"show", file_, "--services"}).output;
    EXPECT_EQ(std::count(services.begin(), services.end(), '\n'), 21);
    EXPECT_THAT(services, HasSubstr("   9999  <Text & Data>"));
    EXPECT_THAT(run({"show", file_, "--days"}).output, HasSubstr("\n2011-10-12  Wed"));
    const auto json = boost::json::parse(run({"show", file_, "--json"}).output);
    EXPECT_EQ(json.at("zone").as_string(), "Europe/London");
    EXPECT_EQ(json.at("services").as_array().size(), 20u);
    EXPECT_THAT(run({"show"}).output, StartsWith("World        built-in\n"));
}

TEST_F(WorldProgramTest, ChecksAWorld) {
    const auto good = run({"check", folder_});
    EXPECT_EQ(good.status, 0);
    EXPECT_THAT(good.output, StartsWith("synthetic-7-stress keeps every rule: "));
    EXPECT_EQ(run({"check", file_}).status, 0);
    EXPECT_THAT(run({"check"}).output, StartsWith("built-in keeps every rule: 11658 events of 81 services"));
}

TEST_F(WorldProgramTest, TellsAllThatIsWrong) {
    std::ofstream(folder_ + "/lineup.txt", std::ios::app)
        << "690 | 1 | tv | Taken | 1 | 1 | 1 | | 0011\n690 | 10000 | tv | Beyond | 1 | 1 | 2 | | 0011\n";
    const auto bad = run({"check", folder_});
    EXPECT_EQ(bad.status, 1);
    EXPECT_EQ(bad.output, "");
    EXPECT_EQ(std::count(bad.errors.begin(), bad.errors.end(), '\n'), 2) << bad.errors;
    EXPECT_THAT(bad.errors, StartsWith(folder_ + "/lineup.txt:"));
    EXPECT_THAT(bad.errors, HasSubstr("channel number"));
    EXPECT_THAT(bad.errors, HasSubstr("10000"));

    auto bytes = readFile(file_);
    bytes[bytes.size() / 2] ^= 1;
    std::ofstream(file_, std::ios::binary) << bytes;
    EXPECT_EQ(run({"check", file_}).status, 1);
    EXPECT_EQ(run({"show", file_}).status, 1);
    EXPECT_EQ(run({"show", directory_.file("nowhere")}).status, 1);
}

TEST_F(WorldProgramTest, WhatWritesNoFileEndsAtOnce) {
    const auto many = directory_.file("many");
    std::filesystem::create_directory(many);
    std::ofstream lineup(many + "/lineup.txt");
    for (int i = 1; i != 4000; ++i) // to show them takes more than a pipe holds
        lineup << "690 | " << i << " | tv | One of many | 1 | 1 | " << i << " | | 0011\n";
    lineup.close();
    Child show(OSTREL_WORLD, {"show", many, "--services"});
    EXPECT_NE(show.readLine(), "");
    show.interrupt();
    EXPECT_EQ(show.wait(), 1000 + SIGINT) << show.readErrors();
}

TEST_F(WorldProgramTest, RefusesWishesThatCannotBe) {
    const auto refused = [&](std::vector<std::string> options) {
        options.insert(options.begin(), {"synthetic", "-o", directory_.file("other.world")});
        const auto outcome = run(options);
        EXPECT_EQ(outcome.output, "");
        return outcome.status;
    };
    EXPECT_EQ(refused({"--services", "0"}), 2);
    EXPECT_EQ(refused({"--services", "5001"}), 2);
    EXPECT_EQ(refused({"--services", "13", "--stress"}), 2);
    EXPECT_EQ(refused({"--start", "yesterday"}), 2);
    EXPECT_EQ(refused({"--zone", "Europe/Nowhere"}), 1);
    EXPECT_EQ(readFile(directory_.file("other.world")), "");
    EXPECT_EQ(run({"synthetic"}).status, 2);
}

} // namespace
} // namespace Ostrel::Test
