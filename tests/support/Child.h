#pragma once

#include <csignal>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Ostrel::Test {

/// A program that runs beside the test. Whoever starts it waits for it.
class Child {
public:
    /// @param environment  "NAME=VALUE" entries beside the test's own
    Child(const std::string& program, const std::vector<std::string>& arguments,
          const std::string& input = {}, const std::vector<std::string>& environment = {});
    ~Child();

    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    /// Returns the next line of standard output with its newline, or what is left at the end.
    std::string readLine();

    pid_t id() const { return process_; }

    void closeOutput(); ///< stops reading, as "| head" does
    void interrupt() { signal(SIGINT); }
    void terminate() { signal(SIGTERM); }
    void signal(int number);

    /// Waits for the end and returns the exit status, or 1000 and the signal that killed it.
    int wait();

    std::string readOutput(); ///< to the end
    std::string readErrors(); ///< all of standard error; after wait()

private:
    pid_t process_ = -1;
    int output_ = -1;
    int errors_ = -1;
};

} // namespace Ostrel::Test
