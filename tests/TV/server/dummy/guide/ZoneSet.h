#pragma once

#include <cstdlib>
#include <ctime>
#include <optional>
#include <string>

/// Makes a time zone the process's, for as long as it lives. No other thread may ask for one meanwhile.
class ZoneSet {
public:
    explicit ZoneSet(const std::string& zone) {
        if (const char* const before = std::getenv("TZ"))
            before_ = before;
        setenv("TZ", zone.c_str(), 1);
        tzset();
    }
    ~ZoneSet() {
        if (before_)
            setenv("TZ", before_->c_str(), 1);
        else
            unsetenv("TZ");
        tzset();
    }
    ZoneSet(const ZoneSet&) = delete;
    ZoneSet& operator=(const ZoneSet&) = delete;

private:
    std::optional<std::string> before_;
};
