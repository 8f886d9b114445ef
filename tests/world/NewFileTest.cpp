#include "world/NewFile.h"
#include "tests/support/TempDirectory.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <system_error>

#include <sys/resource.h>

namespace Ostrel::TV::Tool {
namespace {

std::string readFile(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

TEST(NewFileTest, WhyItCannotBeWrittenIsTold) {
    const Ostrel::Test::TempDirectory directory;
    const auto path = directory.file("a.world");
    std::ofstream(path) << "as before";
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit small{4096, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    std::string said;
    try {
        NewFile file(path);
        file.write(std::string(100'000, 'a'));
    } catch (const std::system_error& error) {
        said = error.what();
    }
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(said, "cannot write " + path + ": File too large");
    EXPECT_EQ(readFile(path), "as before");
    using std::filesystem::directory_iterator;
    EXPECT_EQ(std::distance(directory_iterator(directory.file("")), directory_iterator()), 1);
}

} // namespace
} // namespace Ostrel::TV::Tool
