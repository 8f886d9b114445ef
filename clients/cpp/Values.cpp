#include "clients/cpp/Values.h"

#include "clients/cpp/Errors.h"
#include "clients/cpp/Records.h"

#include <boost/json/parse.hpp>
#include <boost/json/value_from.hpp>

#include <type_traits>

namespace Ostrel::Client {

namespace {

namespace json = boost::json;

// Each record's members, in the order in which they travel. Field is a reader or a
// writer, as below; Record is const for the writer.

template <class Record, class Field>
requires std::is_same_v<std::remove_const_t<Record>, ServiceInfo>
void visit(Record& record, Field&& field) {
    field("channelNumber", record.channelNumber);
    field("name", record.name);
    field("uri", record.uri);
    field("id", record.id);
    field("type", record.type);
    field("provider", record.provider);
    field("scrambled", record.scrambled);
    field("highDefinition", record.highDefinition);
    field("visible", record.visible);
    field("selectable", record.selectable);
}

template <class Record, class Field>
requires std::is_same_v<std::remove_const_t<Record>, EventInfo>
void visit(Record& record, Field&& field) {
    field("serviceId", record.serviceId);
    field("startTime", record.startTime);
    field("endTime", record.endTime);
    field("title", record.title);
    field("description", record.description);
    field("highDefinition", record.highDefinition);
    field("extra", record.extra);
    field("genres", record.genres);
}

template <class Record, class Field>
requires std::is_same_v<std::remove_const_t<Record>, GenreStringMap>
void visit(Record& record, Field&& field) {
    field("code", record.code);
    field("text", record.text);
}

template <class Record, class Field>
requires std::is_same_v<std::remove_const_t<Record>, SignalStatus>
void visit(Record& record, Field&& field) {
    field("strength", record.strength);
    field("quality", record.quality);
}

template <class Record, class Field>
requires std::is_same_v<std::remove_const_t<Record>, ScanInfo>
void visit(Record& record, Field&& field) {
    field("scanning", record.scanning);
    field("progress", record.progress);
    field("reserved1", record.reserved1);
    field("reserved2", record.reserved2);
    field("reserved3", record.reserved3);
    field("reserved4", record.reserved4);
    field("reserved5", record.reserved5);
    field("servicesFound", record.servicesFound);
    field("tvServices", record.tvServices);
    field("radioServices", record.radioServices);
    field("type3Services", record.type3Services);
    field("reserved6", record.reserved6);
    field("reserved7", record.reserved7);
}

template <class T> constexpr bool isList = false;
template <class T> constexpr bool isList<std::vector<T>> = true;

template <class T> constexpr bool isRecord =
    std::is_class_v<T> && !std::is_same_v<T, std::string> && !isList<T>;

bool read(const json::value& value, bool& to) {
    if (!value.is_bool())
        return false;
    to = value.get_bool();
    return true;
}

bool read(const json::value& value, std::string& to) {
    if (!value.is_string())
        return false;
    to.assign(value.get_string().data(), value.get_string().size());
    return true;
}

template <class Number>
requires std::is_integral_v<Number>
bool read(const json::value& value, Number& to) {
    json::error_code error;
    to = value.to_number<Number>(error);
    return !error;
}

bool read(const json::value& value, ServiceInfo::Type& to) {
    std::uint32_t number = 0;
    if (!read(value, number))
        return false;
    to = ServiceInfo::Type{number};
    return true;
}

template <class T> bool read(const json::value& value, std::vector<T>& to) {
    if (!value.is_array())
        return false;
    for (const auto& element : value.get_array()) {
        if (!read(element, to.emplace_back()))
            return false;
    }
    return true;
}

/// What a reply should have been that is no record and no list.
template <class T> constexpr const char* kind = nullptr;
template <> constexpr const char* kind<bool> = "true or false";
template <> constexpr const char* kind<std::uint32_t> = "an unsigned 32-bit number";
template <> constexpr const char* kind<std::string> = "a text";

} // namespace

json::value parse(std::string_view text) {
    json::parse_options options;
    options.max_depth = 256;
    json::error_code error;
    auto value = json::parse(json::string_view(text.data(), text.size()), error, {}, options);
    if (error)
        throw BadReply("the service sent what is not JSON: " + error.message());
    return value;
}

template <class T> T fromJson(const json::value& reply) {
    T result{};
    if constexpr (isList<T>) {
        if (!reply.is_array())
            throw BadReply("the reply is not a list");
        result.reserve(reply.get_array().size());
        for (const auto& element : reply.get_array())
            result.push_back(fromJson<typename T::value_type>(element));
    } else if constexpr (isRecord<T>) {
        if (!reply.is_object())
            throw BadReply("the reply is not a record");
        visit(result, [&members = reply.get_object()](const char* key, auto& to) {
            const auto* value = members.if_contains(key);
            if (value == nullptr)
                throw BadReply("the reply lacks the member \"" + std::string(key) + "\"");
            if (!read(*value, to))
                throw BadReply("the reply's member \"" + std::string(key) + "\" is of another type");
        });
    } else if (!read(reply, result)) {
        throw BadReply(std::string("the reply is not ") + kind<T>);
    }
    return result;
}

template <class Record> json::value toJson(const Record& record) {
    json::object members;
    visit(record, [&members](const char* key, const auto& value) {
        if constexpr (std::is_enum_v<std::remove_cvref_t<decltype(value)>>)
            members[key] = static_cast<std::uint32_t>(value);
        else
            members[key] = json::value_from(value);
    });
    return members;
}

template <> json::value toJson(const Query& query) {
    const Query start;
    json::object members;
    const auto add = [&](const char* key, auto member) {
        if (query.*member != start.*member)
            members[key] = json::value_from(query.*member);
    };
    add("serviceIdList", &Query::serviceIdList);
    if (const auto& range = query.timeRange)
        members["timeRange"] = {{"strict", range->strict}, {"base", range->base}, {"limit", range->limit}};
    add("genreList", &Query::genreList);
    add("stringList", &Query::stringList);
    add("stringAnd", &Query::stringAnd);
    add("stringMatchDescription", &Query::stringMatchDescription);
    add("orderByServiceIdPriority", &Query::orderByServiceIdPriority);
    add("orderByStartTimePriority", &Query::orderByStartTimePriority);
    if (const auto& range = query.sliceRange)
        members["sliceRange"] = {{"base", range->base}, {"limit", range->limit}};
    return members;
}

template bool fromJson(const json::value&);
template std::uint32_t fromJson(const json::value&);
template std::vector<std::string> fromJson(const json::value&);

#define OSTREL_CLIENT_RECORD(Record)                                                                         \
    template Record fromJson(const json::value&);                                                            \
    template std::vector<Record> fromJson(const json::value&);                                               \
    template json::value toJson(const Record&);

OSTREL_CLIENT_RECORD(ServiceInfo)
OSTREL_CLIENT_RECORD(EventInfo)
OSTREL_CLIENT_RECORD(GenreStringMap)
OSTREL_CLIENT_RECORD(SignalStatus)
OSTREL_CLIENT_RECORD(ScanInfo)

} // namespace Ostrel::Client
