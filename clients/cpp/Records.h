#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace Ostrel::Client {

/// One broadcast service (channel).
struct ServiceInfo {
    /// What kind of service it is; a value that is none of these is passed through.
    enum class Type : std::uint32_t { Television = 1, Radio = 2, Data = 3 };

    std::uint32_t channelNumber = 0;
    std::string name;
    std::string uri;
    std::uint32_t id = 0; ///< the guide service id: EventInfo::serviceId of its events
    Type type = Type::Television;
    std::string provider;
    bool scrambled = false;
    bool highDefinition = false;
    bool visible = false;
    bool selectable = false;

    bool operator==(const ServiceInfo&) const = default;
};

/// One programme in the guide. Times are seconds since 1970-01-01 UTC.
struct EventInfo {
    std::uint32_t serviceId = 0;
    std::int32_t startTime = 0;
    std::int32_t endTime = 0;
    std::string title;
    std::string description;
    bool highDefinition = false;
    std::uint32_t extra = 0;
    std::vector<std::int32_t> genres; ///< DVB content codes, see GenreStringMap

    bool operator==(const EventInfo&) const = default;
};

/// One row of the genre legend.
struct GenreStringMap {
    std::int32_t code = 0; ///< DVB content code, 0 to 255
    std::string text;

    bool operator==(const GenreStringMap&) const = default;
};

/// How well a tuner receives.
struct SignalStatus {
    std::uint32_t strength = 0;
    std::uint32_t quality = 0;

    bool operator==(const SignalStatus&) const = default;
};

/// How far a scan has come and what it has found.
struct ScanInfo {
    bool scanning = false;
    std::uint32_t progress = 0; ///< percent
    std::uint32_t reserved1 = 0;
    std::uint32_t reserved2 = 0;
    std::uint32_t reserved3 = 0;
    std::uint32_t reserved4 = 0;
    std::uint32_t reserved5 = 0;
    std::uint32_t servicesFound = 0;
    std::uint32_t tvServices = 0;
    std::uint32_t radioServices = 0;
    std::uint32_t type3Services = 0;
    std::uint32_t reserved6 = 0;
    std::uint32_t reserved7 = 0;

    bool operator==(const ScanInfo&) const = default;
};

/// Which events of the guide to find, and in which order. As it stands: all of them.
struct Query {
    /// Times are seconds since 1970-01-01 UTC.
    struct TimeRange {
        bool strict = false; ///< only events that lie within, not those that reach into it
        std::int32_t base = 0;
        std::int32_t limit = std::numeric_limits<std::int32_t>::max();

        bool operator==(const TimeRange&) const = default;
    };

    /// Of the events found, those from base up to, but not including, limit.
    struct SliceRange {
        std::uint32_t base = 0;
        std::uint32_t limit = std::numeric_limits<std::uint32_t>::max();

        bool operator==(const SliceRange&) const = default;
    };

    std::vector<std::int32_t> serviceIdList; ///< EventInfo::serviceId; empty: all
    std::optional<TimeRange> timeRange;
    std::vector<std::uint8_t> genreList; ///< EventInfo::genres; empty: all
    std::vector<std::string> stringList; ///< texts to find in the title; empty: all events
    bool stringAnd = false; ///< every text, not just one of them
    bool stringMatchDescription = false; ///< also in the description
    std::int32_t orderByServiceIdPriority = -1; ///< the smaller sorts first; negative: no sorting
    std::int32_t orderByStartTimePriority = -1; ///< likewise
    std::optional<SliceRange> sliceRange;

    bool operator==(const Query&) const = default;
};

} // namespace Ostrel::Client
