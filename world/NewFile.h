#pragma once

#include <cstdio>
#include <span>
#include <string>

namespace Ostrel::TV::Tool {

/// A file that appears whole or not at all: it is written beside its place and then put there. It
/// takes the place of one that is there already.
///
/// What cannot be written is a std::system_error that names the file. From then on signals wait for
/// checkForInterrupt().
class NewFile {
public:
    explicit NewFile(const std::string& path);
    ~NewFile();
    NewFile(const NewFile&) = delete;
    NewFile& operator=(const NewFile&) = delete;

    /// For reading and writing; writing may go wrong unseen, since putInPlace() looks.
    std::FILE* stream() { return file_; }

    /// Writes at the end of the stream.
    void write(std::span<const char> bytes);

    /// Once, after everything is written. The stream can still be read.
    /// @throws Interrupted
    void putInPlace();

private:
    [[noreturn]] void fail() const;

    std::string path_, beside_;
    std::FILE* file_ = nullptr;
};

} // namespace Ostrel::TV::Tool
