#include "TV/server/dummy/data/TemporaryFile.h"

#include <cerrno>
#include <cstdlib>
#include <string>
#include <system_error>

#include <fcntl.h>
#include <unistd.h>

namespace Ostrel::TV {

namespace {

std::string folder() {
    const char* const set = std::getenv("TMPDIR");
    return set != nullptr && *set != '\0' ? set : "/tmp";
}

} // namespace

// Not std::tmpfile(), which knows one folder alone: on many systems that one is in memory, and small.
TemporaryFile makeTemporaryFile() {
    std::string name = folder() + "/ostrel-world.XXXXXX";
    const int number = mkostemp(name.data(), O_CLOEXEC);
    if (number < 0)
        failToWriteWorld();
    unlink(name.c_str());
    TemporaryFile file(fdopen(number, "w+"), std::fclose);
    if (!file) {
        const int error = errno;
        close(number);
        errno = error;
        failToWriteWorld();
    }
    return file;
}

void failToWriteWorld() {
    throw std::system_error(errno, std::generic_category(),
                            "cannot write the world, or a temporary file in " + folder() +
                                " (TMPDIR names another)");
}

} // namespace Ostrel::TV
