#pragma once

#include "clients/cpp/Errors.h"
#include "clients/cpp/Json.h"
#include "clients/cpp/JsonText.h"
#include "clients/cpp/ValueText.h"

#include <boost/json/value.hpp>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <variant>
#include <vector>

namespace Ostrel::Client {

// What travels, as the values in between: Json.h has the same for texts. How records are read and
// written stands here, what they hold is made from the description.

/// A member of a record as it travels.
template <class Record, class T> struct Member {
    const char* name;
    T Record::*place;
    bool isNeeded; ///< otherwise it may be left out, and is then as at the start
};
template <class Record, class T> Member(const char*, T Record::*, bool) -> Member<Record, T>;

/// The members of a record, in the order in which they travel: a std::tuple of Member.
template <class Record> constexpr auto members = nullptr;

template <class T> constexpr bool isRecord =
    !std::is_same_v<std::remove_cvref_t<decltype(members<T>)>, std::nullptr_t>;
template <class T> constexpr bool isList = false;
template <class T> constexpr bool isList<std::vector<T>> = true;
template <class T> constexpr bool isOptional = false;
template <class T> constexpr bool isOptional<std::optional<T>> = true;
template <class T> constexpr bool isVariant = false;
template <class... T> constexpr bool isVariant<std::variant<T...>> = true;

template <class T> bool read(const boost::json::value& value, T& to);

/// Reads what is of the first type that it can be of.
template <class... T> bool readOneOf(const boost::json::value& value, std::variant<T...>& to) {
    const auto readAs = [&](auto one) { return read(value, one) && (to = std::move(one), true); };
    return (readAs(T{}) || ...);
}

/// Reads a value; false: it is of another type.
///
/// @throws BadReply  a member of a record in it is missing or of another type
template <class T> bool read(const boost::json::value& value, T& to) {
    if constexpr (std::is_same_v<T, bool>) {
        return value.is_bool() && (to = value.get_bool(), true);
    } else if constexpr (std::is_arithmetic_v<T>) {
        boost::json::error_code error;
        to = value.to_number<T>(error);
        return !error;
    } else if constexpr (std::is_enum_v<T>) {
        std::underlying_type_t<T> number{};
        return read(value, number) && (to = T{number}, true);
    } else if constexpr (std::is_same_v<T, std::string>) {
        if (!value.is_string())
            return false;
        to.assign(value.get_string().data(), value.get_string().size());
        return true;
    } else if constexpr (isOptional<T>) {
        typename T::value_type there{};
        if (value.is_null() && !std::is_same_v<decltype(there), JsonText>)
            return true;
        return read(value, there) && (to = std::move(there), true);
    } else if constexpr (isVariant<T>) {
        return readOneOf(value, to);
    } else if constexpr (std::is_same_v<T, JsonText>) {
        to.text = toText(value);
        return true;
    } else if constexpr (isList<T>) {
        if (!value.is_array())
            return false;
        to.reserve(value.get_array().size());
        for (const auto& element : value.get_array()) {
            if (!read(element, to.emplace_back()))
                return false;
        }
        return true;
    } else {
        static_assert(isRecord<T>);
        if (!value.is_object())
            return false;
        std::apply([&](const auto&... member) { (readMember(value.get_object(), member, to), ...); },
                   members<T>);
        return true;
    }
}

template <class Record, class T>
void readMember(const boost::json::object& values, const Member<Record, T>& member, Record& to) {
    const auto* value = values.if_contains(member.name);
    if (value == nullptr && member.isNeeded)
        throw BadReply("the reply lacks the member \"" + std::string(member.name) + "\"");
    if (value != nullptr && !read(*value, to.*member.place))
        throw BadReply("the reply's member \"" + std::string(member.name) + "\" is of another type");
}

/// What a reply should have been.
template <class T> constexpr const char* getKind() {
    if constexpr (std::is_same_v<T, bool>)
        return "true or false";
    else if constexpr (std::is_same_v<T, std::string>)
        return "a text";
    else if constexpr (isRecord<T>)
        return "a record";
    else
        return std::is_same_v<T, std::uint32_t> ? "an unsigned 32-bit number" : "such a number";
}

/// Makes what a call returns from its result, see decode().
template <class Result> Result fromJson(const boost::json::value& reply) {
    Result result{};
    if constexpr (isList<Result>) {
        if (!reply.is_array())
            throw BadReply("the reply is not a list");
        result.reserve(reply.get_array().size());
        for (const auto& element : reply.get_array())
            result.push_back(fromJson<typename Result::value_type>(element));
    } else if (!read(reply, result)) {
        throw BadReply(std::string("the reply is not ") + getKind<Result>());
    }
    return result;
}

/// Returns a value as it travels, see encode().
template <class T> boost::json::value toJson(const T& value) {
    if constexpr (std::is_arithmetic_v<T>) {
        return value;
    } else if constexpr (std::is_enum_v<T>) {
        return static_cast<std::underlying_type_t<T>>(value);
    } else if constexpr (std::is_convertible_v<T, std::string_view>) {
        return boost::json::string(std::string_view(value));
    } else if constexpr (isOptional<T>) {
        return value ? toJson(*value) : nullptr;
    } else if constexpr (isVariant<T>) {
        return std::visit([](const auto& one) { return toJson(one); }, value);
    } else if constexpr (std::is_same_v<T, JsonText>) {
        return parse(value.text);
    } else if constexpr (isList<T>) {
        boost::json::array list;
        list.reserve(value.size());
        for (const auto& element : value)
            list.push_back(toJson(element));
        return list;
    } else {
        static_assert(isRecord<T>);
        boost::json::object object;
        const T start;
        const auto add = [&](const auto& member) {
            if (member.isNeeded || value.*member.place != start.*member.place)
                object[member.name] = toJson(value.*member.place);
        };
        std::apply([&](const auto&... member) { (add(member), ...); }, members<T>);
        return object;
    }
}

template <class Result> Result decode(std::string_view json) {
    return fromJson<Result>(parse(json));
}

template <class Record> std::string encode(const Record& record) {
    return toText(toJson(record));
}

template <class Record> std::string encode(const std::vector<Record>& records) {
    return toText(toJson(records));
}

/// Puts into the library what Json.h promises for a record.
#define OSTREL_CLIENT_RECORD(Record)                                                                         \
    template Record decode(std::string_view);                                                                \
    template std::vector<Record> decode(std::string_view);                                                   \
    template std::string encode(const Record&);                                                              \
    template std::string encode(const std::vector<Record>&);

} // namespace Ostrel::Client
