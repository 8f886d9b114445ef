#include "commandline/Output.h"

#include <cerrno>
#include <system_error>

#include <sys/ioctl.h>

namespace Ostrel::CommandLine {

void print(std::string_view text) {
    while (!text.empty()) {
        const auto written = ::write(STDOUT_FILENO, text.data(), text.size());
        if (written >= 0)
            text.remove_prefix(static_cast<std::size_t>(written));
        else if (errno == EPIPE)
            throw OutputClosed();
        else if (errno != EINTR)
            throw std::system_error(errno, std::generic_category(), "cannot write");
    }
}

std::size_t getTerminalWidth(int descriptor) {
    winsize size{};
    if (::ioctl(descriptor, TIOCGWINSZ, &size) != 0 || size.ws_col == 0)
        return 80;
    return size.ws_col;
}

} // namespace Ostrel::CommandLine
