#include "clients/tool/Pager.h"

#include "clients/tool/Output.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include <sys/ioctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Ostrel::Client::Tool {

namespace {

constexpr const char* pager = R"(
export LESS="${LESS:-FRX}"
if [ -n "$PAGER" ]; then eval "$PAGER"
elif command -v less >/dev/null 2>&1; then exec less
else exec cat
fi)";

bool isLongerThanTheScreen(const std::string& text) {
    winsize size{};
    if (::isatty(STDOUT_FILENO) == 0 || ::ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) != 0 || size.ws_row == 0)
        return false;
    return std::count(text.begin(), text.end(), '\n') >= size.ws_row;
}

bool isSwitchedOff() {
    const char* name = std::getenv("PAGER");
    return name != nullptr && *name == '\0';
}

} // namespace

void page(const std::string& text) {
    if (isSwitchedOff() || !isLongerThanTheScreen(text)) {
        print(text);
        return;
    }
    std::FILE* pipe = ::popen(pager, "w");
    if (pipe == nullptr) {
        print(text);
        return;
    }
    // Who quits the pager has seen enough: that is no failure.
    std::fwrite(text.data(), 1, text.size(), pipe);
    const int status = ::pclose(pipe);
    constexpr int noSuchCommand = 127;
    if (WIFEXITED(status) && WEXITSTATUS(status) == noSuchCommand)
        print(text);
}

} // namespace Ostrel::Client::Tool
