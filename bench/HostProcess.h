#pragma once

#include "tests/support/TempDirectory.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Ostrel::Bench {

/// A host that runs beside the program that measures it, on a port of 127.0.0.1, and what the
/// system knows about it.
class HostProcess {
public:
    /// Returns once the host serves.
    /// @param program  the path of an ostrel-tvd, of any build, or of what is measured beside it
    /// @param options  beside where to listen
    /// @param under    the command that runs it in its own place, such as "valgrind" and its options
    /// @throws std::runtime_error  it does not
    explicit HostProcess(const std::string& program, const std::vector<std::string>& options = {},
                         const std::vector<std::string>& under = {});

    /// Ends the host, in the hard way if it has not gone 10 s after it was asked to.
    ~HostProcess();

    /// Asks the host to end and waits for that, for two minutes at most; then it is ended.
    /// @returns its exit status, or 1000 and the signal that has ended it
    int stop();

    /// All that it has written to standard error so far.
    std::string readErrors() const;

    HostProcess(const HostProcess&) = delete;
    HostProcess& operator=(const HostProcess&) = delete;

    std::uint16_t getPort() const { return port_; }

    pid_t getId() const { return process_; }

    bool isAlive() const;

    // Of a host that has gone: 0.

    double residentMiB() const;

    /// Memory that is its own and no file's.
    double anonymousMiB() const;

    std::size_t countDescriptors() const;
    std::size_t countThreads() const;

    /// The most that was resident since resetPeak().
    double peakMiB() const;
    void resetPeak() const;

    /// Processor time of all its threads, user and system.
    double processorSeconds() const;

    /// How often its threads were taken off a processor or gave it up.
    long contextSwitches() const;

private:
    /// The number behind a name in /proc/PID/status; 0 when there is none.
    double statusNumber(const std::string& name) const;
    int end(int looks);

    const Test::TempDirectory directory_;
    pid_t process_ = -1;
    std::uint16_t port_ = 0;
};

} // namespace Ostrel::Bench
