#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <string>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace Ostrel::Test {

/// A terminal of some lines and 80 columns, and what a program has written to it.
class Terminal {
public:
    explicit Terminal(unsigned short rows) : master_(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC)) {
        const winsize size{rows, 80, 0, 0};
        EXPECT_EQ(::grantpt(master_), 0);
        EXPECT_EQ(::unlockpt(master_), 0);
        EXPECT_EQ(::ioctl(master_, TIOCSWINSZ, &size), 0);
        slave_ = ::open(getPath().c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC); // so that the text stays there
    }
    ~Terminal() {
        ::close(slave_);
        ::close(master_);
    }
    Terminal(const Terminal&) = delete;
    Terminal& operator=(const Terminal&) = delete;

    std::string getPath() const { return ::ptsname(master_); }

    std::string read() const {
        EXPECT_EQ(::fcntl(master_, F_SETFL, O_NONBLOCK), 0);
        std::string text(4096, '\0');
        const auto length = ::read(master_, text.data(), text.size());
        text.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
        text.erase(std::remove(text.begin(), text.end(), '\r'), text.end());
        return text;
    }

private:
    int master_;
    int slave_ = -1;
};

} // namespace Ostrel::Test
