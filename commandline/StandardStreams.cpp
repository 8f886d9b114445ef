#include "commandline/StandardStreams.h"

#include <initializer_list>

#include <fcntl.h>
#include <unistd.h>

namespace Ostrel::CommandLine {

void fillStandardStreams(bool writable) {
    for (const int stream : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (::fcntl(stream, F_GETFD) != -1)
            continue;
        const int unusable = stream == STDIN_FILENO ? O_WRONLY : O_RDONLY;
        ::open("/dev/null", writable ? O_RDWR : unusable);
    }
}

} // namespace Ostrel::CommandLine
