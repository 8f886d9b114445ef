#pragma once

#include <ctime>

/// Stands still at a time of the test's choice for everything that asks the C library's time().
///
/// The test program has its own time(); without a FakeTime it is the system's.
class FakeTime {
public:
    explicit FakeTime(std::time_t now);
    ~FakeTime();

    FakeTime(const FakeTime&) = delete;
    FakeTime& operator=(const FakeTime&) = delete;

    void set(std::time_t now);
    void advance(std::time_t seconds);
};
