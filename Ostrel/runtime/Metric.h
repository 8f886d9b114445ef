// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <atomic>
#include <cstdint>

namespace Ostrel {

class MetricsText;

/// One series of the page of metrics: a Counter or a Gauge, a static object beside what it counts.
///
/// It is on the page from the start of the process to its end, at 0 to begin with. Counting takes no
/// lock and allocates nothing; any thread may count.
class OSTREL_API Metric {
public:
    /// What series have in common that count the same and tell it apart by one label.
    struct Family {
        const char* name;
        const char* help; ///< one line
        const char* label = nullptr; ///< null where there is but one series
    };

    Metric(const Metric&) = delete;
    Metric& operator=(const Metric&) = delete;

    std::int64_t get() const noexcept { return value_.load(std::memory_order_relaxed); }

    /// Writes all that the process has, by name and value of the label.
    static void writeAll(MetricsText& out);

protected:
    /// @param type   as Prometheus calls it
    /// @param value  of the label
    Metric(const char* type, const Family& family, const char* value) noexcept;
    ~Metric() = default; // trivial: threads may outlive the static objects

    void add(std::int64_t change) noexcept { value_.fetch_add(change, std::memory_order_relaxed); }
    void put(std::int64_t value) noexcept { value_.store(value, std::memory_order_relaxed); }

private:
    std::atomic<std::int64_t> value_ = 0;
    const char* const type_;
    const Family family_;
    const char* const labelValue_;
    Metric* next_ = nullptr; ///< that was made before
};

/// How often something has happened.
class Counter : public Metric {
public:
    explicit Counter(const Family& family, const char* value = "") noexcept
        : Metric("counter", family, value) {}

    void increment(std::uint64_t by = 1) noexcept { add(static_cast<std::int64_t>(by)); }
};

/// How much there is of something.
class Gauge : public Metric {
public:
    explicit Gauge(const Family& family, const char* value = "") noexcept : Metric("gauge", family, value) {}

    void increment(std::int64_t by = 1) noexcept { add(by); }
    void decrement(std::int64_t by = 1) noexcept { add(-by); }
    void set(std::int64_t value) noexcept { put(value); }
};

} // namespace Ostrel
