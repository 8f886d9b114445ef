// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/serialization/Deserializer.h"
#include "Ostrel/serialization/VectorObject.h"

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel::TV {

/// The programme guide: what is broadcast when.
///
/// The operations only read, and any number of threads may call them at once, also on one context
/// and while operations of other interfaces run on it: a module must not need a lock for them. One
/// that fails throws an Exception. Arguments are not kept; what comes back is a copy and the caller's.
///
/// Services go by their guide service ids (ITVService::ServiceInfo::getId()). An id that nobody
/// has is no error: there is nothing to be had.
class OSTREL_API ITVGuide {
public:
    class EventInfo;
    class GenreStringMap;
    class Query;

    virtual ~ITVGuide() = default;

    /// Returns the events that a query selects, in its order.
    /// @throws Exception  NotSupported: the module cannot look for what the query says
    virtual VectorObject<EventInfo> queryEventInfo(const Query& query) = 0;

    /// Returns the event that is on the air by ITVService::utcTimeGet(), and the one that starts at
    /// the second when that ends: none, one or two, in this order. When nothing is on the air,
    /// nothing follows it.
    /// @param id  guide service id
    virtual VectorObject<EventInfo> queryNowNextEventInfo(const unsigned& id) = 0;

    /// Returns what the genre codes mean, ascending by code.
    virtual VectorObject<GenreStringMap> getGenreStringMapList() = 0;

    /// Returns every event for which an expression is true, each as a document, by start time.
    /// @param expression        in the language; the empty one is true for all
    /// @param expressionFormat  the language: "quoril" (docs/query-language.md)
    /// @param outputFormat      "quoriljson" or "quorilxml"
    /// @throws Exception  NotSupported: there is no such language or format, or the expression is
    ///                    none of the language
    virtual VectorObject<std::string> query(const std::string& expression,
                                            const std::string& expressionFormat,
                                            const std::string& outputFormat) = 0;
};

/// One programme in the guide: an event of the event information table (EIT) of ETSI EN 300 468.
/// Times are seconds since 1970-01-01 UTC and fit in 32 bits, signed.
class OSTREL_API ITVGuide::EventInfo : public SerialObject {
public:
    EventInfo(const unsigned& serviceId, const long& startTime, const long& endTime, const std::string& title,
              const std::string& description, const bool& highDefinition, const unsigned& extra,
              const VectorObject<unsigned char>& genres);
    /// The same, taking the texts and the genres over.
    EventInfo(unsigned serviceId, long startTime, long endTime, std::string&& title,
              std::string&& description, bool highDefinition, unsigned extra,
              VectorObject<unsigned char>&& genres);

    /// The guide service id of the service that broadcasts it.
    std::uint32_t getServiceId() const { return serviceId_; }
    long getStartTime() const { return startTime_; }
    /// The first second that is no longer its own.
    long getEndTime() const { return endTime_; }
    const std::string& getTitle() const { return title_; }
    const std::string& getDescription() const { return description_; }
    bool getHighDefinition() const { return highDefinition_; }
    /// A number of the module's own; 0 where it has none.
    std::uint32_t getExtra() const { return extra_; }
    /// Content codes of the content descriptor of ETSI EN 300 468: the level 1 nibble above, the
    /// level 2 nibble below, for example 0x20 for news and current affairs.
    const VectorObject<unsigned char>& getGenres() const { return genres_; }
    VectorObject<unsigned char>& getGenres() { return genres_; }

    EventInfo* clone() const override;
    using SerialObject::serialize;
    void serialize(Serializer& serializer) const override;

private:
    std::uint32_t serviceId_;
    long startTime_;
    long endTime_;
    std::string title_;
    std::string description_;
    bool highDefinition_;
    std::uint32_t extra_;
    VectorObject<unsigned char> genres_;
};

/// What one genre code (EventInfo::getGenres()) means.
class OSTREL_API ITVGuide::GenreStringMap : public SerialObject {
public:
    GenreStringMap(const unsigned char& code, const std::string& text);

    unsigned char getCode() const { return code_; }
    /// In English, for people.
    const std::string& getText() const { return text_; }

    GenreStringMap* clone() const override;
    using SerialObject::serialize;
    void serialize(Serializer& serializer) const override;

private:
    unsigned char code_;
    std::string text_;
};

/// Which events to give, in which order, and which slice of them. An event must pass every filter;
/// a filter that is left out, or empty, lets all pass.
class OSTREL_API ITVGuide::Query {
public:
    /// A window of time, seconds since 1970-01-01 UTC. As an object without members it has no bounds.
    class OSTREL_API TimeRange {
    public:
        TimeRange() = default;
        explicit TimeRange(Deserializer& deserializer);

        /// Whether there is a window at all.
        bool getValid() const { return valid_; }
        /// Whether events must lie in the window as a whole; otherwise they need only touch it.
        bool getStrict() const { return strict_; }
        std::int32_t getBase() const { return base_; }
        /// The first second behind the window.
        std::int32_t getLimit() const { return limit_; }

    private:
        bool valid_ = false;
        bool strict_ = false;
        std::int32_t base_ = 0;
        std::int32_t limit_ = std::numeric_limits<std::int32_t>::max();
    };

    /// A part of the result: the events from index base, counted from 0, up to the one before limit.
    class OSTREL_API SliceRange {
    public:
        SliceRange() = default;
        explicit SliceRange(Deserializer& deserializer);

        /// Whether a part is wanted; otherwise it is the whole.
        bool getValid() const { return valid_; }
        std::uint32_t getBase() const { return base_; }
        std::uint32_t getLimit() const { return limit_; }

    private:
        bool valid_ = false;
        std::uint32_t base_ = 0;
        std::uint32_t limit_ = std::numeric_limits<std::uint32_t>::max();
    };

    /// How many texts may be searched for at once.
    static constexpr std::size_t stringLimit = 256;

    /// Every member may be left out.
    /// @throws DecodeError  also for a member that the query does not know, a typing error
    explicit Query(Deserializer& deserializer);

    /// Guide service ids, of which an event must have one.
    const std::vector<int>& getServiceIdList() const { return serviceIdList_; }
    const TimeRange& getTimeRange() const { return timeRange_; }
    /// Content codes (EventInfo::getGenres()), of which an event must have one.
    const std::vector<unsigned char>& getGenreList() const { return genreList_; }
    /// Texts that the title must contain, compared byte for byte; at most stringLimit.
    const std::vector<std::string>& getStringList() const { return stringList_; }
    /// Whether all of the texts must be found; otherwise any one is enough.
    bool getStringAnd() const { return stringAnd_; }
    /// Whether a text may be found in the description as well.
    bool getStringMatchDescription() const { return stringMatchDescription_; }
    /// The key with the smaller priority sorts first; a negative one does not sort, nor do two that
    /// are equal. Unsorted events come by start time.
    std::int32_t getOrderByServiceIdPriority() const { return orderByServiceIdPriority_; }
    std::int32_t getOrderByStartTimePriority() const { return orderByStartTimePriority_; }
    const SliceRange& getSliceRange() const { return sliceRange_; }

private:
    std::vector<int> serviceIdList_;
    TimeRange timeRange_;
    std::vector<unsigned char> genreList_;
    std::vector<std::string> stringList_;
    bool stringAnd_ = false;
    bool stringMatchDescription_ = false;
    std::int32_t orderByServiceIdPriority_ = -1;
    std::int32_t orderByStartTimePriority_ = -1;
    SliceRange sliceRange_;
};

} // namespace Ostrel::TV

namespace Ostrel {

/// Reads a query from the object under that key, which must be there.
template <> inline TV::ITVGuide::Query deserialize<TV::ITVGuide::Query>(std::string_view key,
                                                                        Deserializer& deserializer) {
    deserializer.enterMember(std::string(key));
    TV::ITVGuide::Query query(deserializer);
    deserializer.leaveMember(std::string(key));
    return query;
}

} // namespace Ostrel
