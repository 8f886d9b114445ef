#include "tests/support/Child.h"
#include "tests/support/TempDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <thread>

namespace {

using Ostrel::Test::Child;
using testing::HasSubstr;

TEST(SoakTest, NothingIsWrongWithAHostThatIsWell) {
    Child soak(OSTREL_SOAK_PROGRAM, {OSTREL_TVD_PROGRAM, "--minutes", "0.4", "--sanitized"});
    const auto told = soak.readOutput();
    EXPECT_EQ(soak.wait(), 0) << told;
    EXPECT_THAT(told, HasSubstr("\nnothing was wrong\n"));
}

TEST(SoakTest, AWrongReplyNowAndThenIsFound) {
    const Ostrel::Test::TempDirectory directory;
    const auto weather = directory.file("weather");
    std::ofstream(weather) << R"({"rules":[{"method":"ITVGuide::*","probability":0.02,"error":"TimedOut"}]})";
    Child soak(OSTREL_SOAK_PROGRAM, {OSTREL_TVD_PROGRAM, "--minutes", "0.2", "--sanitized",
                                     "--host-option=--weather=" + weather, "--json"});
    const auto told = soak.readOutput();
    EXPECT_EQ(soak.wait(), 1) << told;
    EXPECT_THAT(told, HasSubstr(R"(\n  got      ,\"error\")")) << "in the list of what was wrong";
}

TEST(SoakTest, AnInterruptEndsItWithWhatItHasFound) {
    Child soak(OSTREL_SOAK_PROGRAM, {OSTREL_TVD_PROGRAM, "--sanitized"});
    while (soak.readErrors().find(" connecting ") == std::string::npos)
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
    soak.interrupt();
    const auto told = soak.readOutput();
    EXPECT_EQ(soak.wait(), 0) << told;
    EXPECT_THAT(told, HasSubstr("\nended early\nnothing was wrong\n"));
}

} // namespace
