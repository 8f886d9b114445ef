#pragma once

#include <string>

namespace Ostrel::Test {

/// While it lives a system call fails on the listener's thread, where the transport makes them all. For
/// programs that have its source among theirs; one at a time.
class FailingCall {
public:
    /// @param call   the C library's name of it
    /// @param error  the errno; 0 lets read and write go on with a single byte
    /// @param first  the call that fails, from 1
    /// @param times  how many fail, from that on
    FailingCall(const char* call, int error, int first, int times);
    ~FailingCall();

    FailingCall(const FailingCall&) = delete;
    FailingCall& operator=(const FailingCall&) = delete;

    /// How often it was made.
    int getCount() const;
};

} // namespace Ostrel::Test
