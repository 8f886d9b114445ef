#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

struct gzFile_s;

namespace Ostrel::TV::Tool {

/// A file that is read from its beginning to its end, compressed by gzip or not.
class InputFile {
public:
    /// @param path  "-" is standard input
    /// @throws std::system_error  it cannot be opened
    explicit InputFile(const std::string& path);

    /// How people are told of it.
    const std::string& name() const { return name_; }

    /// The next bytes, good until the next call; none at the end.
    /// @throws std::runtime_error  it cannot be read, or what it holds is broken
    /// @throws Interrupted         a signal came while it waited
    std::string_view read();

    /// Bytes on the disk: those that were read, and all of them where there is a file.
    std::uint64_t position() const;
    std::optional<std::uint64_t> size() const { return size_; }

private:
    struct Close {
        void operator()(gzFile_s* file) const;
    };

    [[noreturn]] void fail(const std::string& reason) const;

    std::string name_;
    std::unique_ptr<gzFile_s, Close> file_;
    std::optional<std::uint64_t> size_;
    std::vector<char> buffer_;
    bool isFirst_ = true;
};

} // namespace Ostrel::TV::Tool
