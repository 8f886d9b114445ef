#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>

namespace Ostrel::Test {

/// A directory that goes away with the object.
class TempDirectory {
public:
    TempDirectory() : path_((std::filesystem::temp_directory_path() / "ostrel-XXXXXX").string()) {
        if (::mkdtemp(path_.data()) == nullptr)
            throw std::runtime_error("no temporary directory");
    }
    ~TempDirectory() { std::filesystem::remove_all(path_); }

    TempDirectory(const TempDirectory&) = delete;
    TempDirectory& operator=(const TempDirectory&) = delete;

    /// The path of a file in it.
    std::string file(const std::string& name) const { return path_ + "/" + name; }

private:
    std::string path_;
};

} // namespace Ostrel::Test
