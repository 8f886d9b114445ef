#include "world/InputFile.h"

#include "world/Interrupt.h"

#include <zlib.h>

#include <cerrno>
#include <cstring>
#include <new>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ostrel::TV::Tool {

namespace {

constexpr std::size_t blockSize = std::size_t{1} << 18;

} // namespace

InputFile::InputFile(const std::string& path)
    : name_(path == "-" ? "standard input" : path), buffer_(blockSize) {
    const int descriptor = path == "-" ? ::dup(STDIN_FILENO) : ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    struct stat status {};
    if (descriptor < 0 || ::fstat(descriptor, &status) != 0)
        throw std::system_error(errno, std::generic_category(), "cannot read " + name_);
    if (S_ISREG(status.st_mode))
        size_ = static_cast<std::uint64_t>(status.st_size);
    file_.reset(gzdopen(descriptor, "rb"));
    if (!file_)
        throw std::bad_alloc();
    gzbuffer(file_.get(), blockSize);
}

void InputFile::Close::operator()(gzFile_s* file) const {
    gzclose(file);
}

std::string_view InputFile::read() {
    const int length = gzread(file_.get(), buffer_.data(), static_cast<unsigned>(buffer_.size()));
    int error = Z_OK;
    const char* const reason = gzerror(file_.get(), &error);
    if (length < 0 && error == Z_ERRNO && errno == EINTR)
        checkForInterrupt();
    if (length < 0 || error == Z_BUF_ERROR)
        fail(error == Z_ERRNO ? std::strerror(errno) : error == Z_BUF_ERROR ? "is cut off" : reason);
    const std::string_view bytes(buffer_.data(), static_cast<std::size_t>(length));
    if (isFirst_ && bytes.starts_with("\xFD"
                                      "7zXZ"))
        fail("is compressed by xz: xz -dc FILE | ostrel-world import -");
    isFirst_ = false;
    return bytes;
}

std::uint64_t InputFile::position() const {
    const auto offset = gzoffset(file_.get());
    return offset < 0 ? 0 : static_cast<std::uint64_t>(offset);
}

void InputFile::fail(const std::string& reason) const {
    throw std::runtime_error(name_ + ": " + reason);
}

} // namespace Ostrel::TV::Tool
