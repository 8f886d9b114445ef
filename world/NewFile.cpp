#include "world/NewFile.h"

#include "world/Interrupt.h"

#include <cerrno>
#include <cstdlib>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ostrel::TV::Tool {

NewFile::NewFile(const std::string& path) : path_(path), beside_(path + ".XXXXXX") {
    watchForSignals();
    const int descriptor = ::mkostemp(beside_.data(), O_CLOEXEC);
    if (descriptor < 0) {
        beside_.clear();
        fail();
    }
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::fchmod(descriptor, 0666 & ~mask);
    file_ = ::fdopen(descriptor, "w+b");
    if (file_ == nullptr)
        fail();
}

NewFile::~NewFile() {
    if (file_ != nullptr)
        std::fclose(file_);
    if (!beside_.empty())
        ::unlink(beside_.c_str());
}

void NewFile::write(std::span<const char> bytes) {
    if (std::fwrite(bytes.data(), 1, bytes.size(), file_) != bytes.size())
        fail();
}

void NewFile::putInPlace() {
    checkForInterrupt();
    errno = EIO; // where the stream remembers that it failed, but not why
    if (std::ferror(file_) != 0 || std::fflush(file_) != 0 ||
        std::rename(beside_.c_str(), path_.c_str()) != 0)
        fail();
    beside_.clear();
}

void NewFile::fail() const {
    throw std::system_error(errno, std::generic_category(), "cannot write " + path_);
}

} // namespace Ostrel::TV::Tool
