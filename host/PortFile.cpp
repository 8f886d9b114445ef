#include "host/PortFile.h"

#include "Ostrel/transport/OwnFile.h"
#include "Ostrel/transport/StartError.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Ostrel {

PortFile::PortFile(const std::string& path)
    : path_(path), draft_(path + ".XXXXXX"), descriptor_(::mkostemp(draft_.data(), O_CLOEXEC)) {
    struct stat there {};
    if (descriptor_ < 0)
        fail(errno);
    if (::stat(path_.c_str(), &there) == 0 && S_ISDIR(there.st_mode)) {
        ::unlink(draft_.c_str());
        ::close(descriptor_);
        fail(EISDIR);
    }
    ::fchmod(descriptor_, 0644); // a port is no secret
}

PortFile::~PortFile() {
    struct stat ours {};
    if (::fstat(descriptor_, &ours) == 0)
        removeOwnFile(isPublished_ ? path_ : draft_, ours);
    ::close(descriptor_);
}

void PortFile::publish(std::uint16_t port) {
    const auto text = std::to_string(port) + "\n";
    const auto written = ::write(descriptor_, text.data(), text.size());
    if (written != static_cast<ssize_t>(text.size()))
        fail(written < 0 ? errno : ENOSPC);
    if (::rename(draft_.c_str(), path_.c_str()) != 0)
        fail(errno);
    isPublished_ = true;
}

void PortFile::fail(int error) const {
    throw StartError("cannot write the port file " + path_ + ": " + std::strerror(error) +
                     "; choose another with --port-file");
}

} // namespace Ostrel
