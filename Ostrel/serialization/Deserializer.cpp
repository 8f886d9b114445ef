#include "Ostrel/serialization/Deserializer.h"

#include "Ostrel/serialization/Json.h"
#include "Ostrel/text/Printable.h"

#include <boost/json/array.hpp>
#include <boost/json/monotonic_resource.hpp>
#include <boost/json/object.hpp>
#include <boost/json/serialize.hpp>
#include <boost/json/string.hpp>

#include <algorithm>
#include <limits>
#include <string_view>

namespace json = boost::json;

namespace Ostrel {

namespace {

/// Reads a value as a whole number; nothing when it is none within the T's range.
template <typename T> std::optional<T> asInteger(const json::value& value) {
    // Only what is too large for an int64 is held otherwise.
    const auto* number = value.if_int64();
    if (!number || *number < std::numeric_limits<T>::min() || *number > std::numeric_limits<T>::max())
        return std::nullopt;
    return static_cast<T>(*number);
}

std::optional<std::string> asString(const json::value& value) {
    const auto* text = value.if_string();
    return text ? std::optional<std::string>(std::in_place, text->data(), text->size()) : std::nullopt;
}

[[noreturn]] void fail(const std::string& path, const std::string& problem) {
    throw DecodeError("member \"" + path + "\" " + problem, path);
}

constexpr std::size_t noLimit = std::numeric_limits<std::size_t>::max();

} // namespace

struct Deserializer::Document {
    struct Level {
        std::string key;
        const json::object* object;
    };

    Document(const std::string& text, const std::string& name) {
        if (text.empty())
            throw DecodeError("missing " + name, name);
        boost::system::error_code error;
        root = parseJson(text, &memory, error);
        if (error || !root.is_object())
            throw DecodeError(name + " is not a JSON object", name);
    }

    const json::object& current() const {
        return entered.empty() ? root.get_object() : *entered.back().object;
    }

    /// For messages: the member's name behind those of the objects that hold it.
    std::string path(std::string_view key) const {
        std::string path;
        for (const auto& level : entered)
            path += level.key + '.';
        return path.append(key);
    }

    const json::value* find(const std::string& key) const { return current().if_contains(key); }

    const json::value& get(const std::string& key) const {
        if (const auto* value = find(key))
            return *value;
        const auto where = path(key);
        throw DecodeError("missing member \"" + where + '"', where);
    }

    template <typename T>
    T read(const std::string& key, std::optional<T> convert(const json::value&), const char* problem) const {
        if (auto value = convert(get(key)))
            return std::move(*value);
        fail(path(key), problem);
    }

    template <typename T> std::vector<T> readList(const std::string& key,
                                                  std::optional<T> convert(const json::value&),
                                                  const char* problem, const char* elementProblem,
                                                  std::size_t limit = noLimit) const {
        const auto* array = get(key).if_array();
        if (!array)
            fail(path(key), problem);
        if (array->size() > limit)
            fail(path(key), "has more than " + std::to_string(limit) + " entries");
        std::vector<T> list;
        list.reserve(array->size());
        for (const auto& element : *array) {
            auto value = convert(element);
            if (!value)
                fail(path(key) + '[' + std::to_string(list.size()) + ']', elementProblem);
            list.push_back(std::move(*value));
        }
        return list;
    }

    unsigned char buffer[2048]; ///< holds what small texts become
    json::monotonic_resource memory{buffer, sizeof buffer};
    json::value root;
    std::vector<Level> entered; ///< the members on the way to the current object
};

Deserializer::Deserializer(const std::string& text, const std::string& name)
    : document_(std::make_unique<Document>(text, name)) {}

Deserializer::~Deserializer() = default;

void Deserializer::enterMember(const std::string& key) {
    const auto* object = document_->get(key).if_object();
    if (!object)
        fail(document_->path(key), "is not an object");
    document_->entered.push_back({key, object});
}

void Deserializer::leaveMember(const std::string&) {
    document_->entered.pop_back();
}

bool Deserializer::has(const std::string& key) const {
    return document_->find(key) != nullptr;
}

bool Deserializer::readBool(const std::string& key) const {
    const auto* value = document_->get(key).if_bool();
    if (!value)
        fail(document_->path(key), "is not a boolean");
    return *value;
}

std::int32_t Deserializer::readInt(const std::string& key) const {
    return document_->read(key, asInteger<std::int32_t>, "is not a signed 32-bit integer");
}

std::uint32_t Deserializer::readUnsigned(const std::string& key) const {
    return document_->read(key, asInteger<std::uint32_t>, "is not an unsigned 32-bit integer");
}

std::string Deserializer::readString(const std::string& key) const {
    return document_->read(key, asString, "is not a string");
}

std::vector<int> Deserializer::readIntList(const std::string& key) const {
    return document_->readList(key, asInteger<int>, "is not a list of signed 32-bit integers",
                               "is not a signed 32-bit integer");
}

std::vector<unsigned char> Deserializer::readByteList(const std::string& key) const {
    return document_->readList(key, asInteger<unsigned char>, "is not a list of integers from 0 to 255",
                               "is not an integer from 0 to 255");
}

std::vector<std::string> Deserializer::readStringList(const std::string& key, std::size_t limit) const {
    return document_->readList(key, asString, "is not a list of strings", "is not a string", limit);
}

std::string Deserializer::readObjectText(const std::string& key) const {
    const auto* value = document_->find(key);
    if (!value)
        return {};
    if (value->is_object())
        return json::serialize(*value);
    if (auto text = asString(*value))
        return std::move(*text);
    const auto where = document_->path(key);
    throw DecodeError(where + " is not a JSON object", where);
}

void Deserializer::refuseUnknown(std::initializer_list<const char*> known) const {
    for (const auto& member : document_->current()) {
        const std::string_view name(member.key().data(), member.key().size());
        if (std::find(known.begin(), known.end(), name) != known.end())
            continue;
        const auto where = document_->path(excerpt(name));
        throw DecodeError("unknown member \"" + where + '"', where);
    }
}

} // namespace Ostrel
