#include "Ostrel/serialization/Deserializer.h"

#include "Ostrel/serialization/Json.h"
#include "Ostrel/text/Printable.h"

#include <algorithm>
#include <limits>
#include <list>
#include <string_view>
#include <utility>

namespace Ostrel {

namespace {

[[noreturn]] void fail(const std::string& path, const std::string& problem) {
    throw DecodeError("member \"" + path + "\" " + problem, path);
}

constexpr std::size_t noLimit = std::numeric_limits<std::size_t>::max();

} // namespace

struct Deserializer::Document {
    struct Level {
        Level(std::string name, const JsonValue& object)
            : key(std::move(name)), members(object.getMembers()) {}

        std::string key;
        JsonMembers members;
    };

    Document(const std::string& given, const std::string& name)
        : copy(given), text(copy), whole({}, check(text, name)) {}

    explicit Document(std::string_view checked) : text(checked), whole({}, JsonValue(text)) {}

    static JsonValue check(std::string_view text, const std::string& name) {
        if (text.empty())
            throw DecodeError("missing " + name, name);
        if (checkJson(text) || !JsonValue(text).isObject())
            throw DecodeError(name + " is not a JSON object", name);
        return JsonValue(text);
    }

    const JsonMembers& current() const { return inner.empty() ? whole.members : inner.back().members; }

    /// For messages: the member's name behind those of the objects that hold it.
    std::string path(std::string_view key) const {
        std::string path;
        for (const auto& level : inner)
            path += level.key + '.';
        return path.append(key);
    }

    const JsonValue* find(std::string_view key) const { return findMember(current(), key); }

    const JsonValue& get(std::string_view key) const {
        if (const auto* value = find(key))
            return *value;
        const auto where = path(key);
        throw DecodeError("missing member \"" + where + '"', where);
    }

    template <typename T>
    T read(std::string_view key, std::optional<T> (JsonValue::*convert)() const, const char* problem) const {
        if (auto value = (get(key).*convert)())
            return std::move(*value);
        fail(path(key), problem);
    }

    const JsonValue& getArray(std::string_view key, const char* problem, std::size_t limit) const {
        const auto& array = get(key);
        if (!array.isArray())
            fail(path(key), problem);
        if (limit != noLimit && array.getElements(limit + 1).size() > limit)
            fail(path(key), "has more than " + std::to_string(limit) + " entries");
        return array;
    }

    template <typename T> std::vector<T> readList(std::string_view key,
                                                  std::optional<T> (JsonValue::*convert)() const,
                                                  const char* problem, const char* elementProblem,
                                                  std::size_t limit = noLimit) const {
        const auto& array = getArray(key, problem, limit);
        std::vector<T> list;
        array.forEachElement([&](const JsonValue& element) {
            auto value = (element.*convert)();
            if (!value)
                fail(path(key) + '[' + std::to_string(list.size()) + ']', elementProblem);
            list.push_back(std::move(*value));
        });
        return list;
    }

    const std::string copy; ///< empty where the text is somebody else's
    const std::string_view text;
    const Level whole;
    std::list<Level> inner; ///< the members on the way to the current object
};

Deserializer::Deserializer(const std::string& text, const std::string& name)
    : document_(std::make_unique<Document>(text, name)) {}

Deserializer::Deserializer(const CheckedObject& object)
    : document_(std::make_unique<Document>(object.text)) {}

Deserializer::~Deserializer() = default;

void Deserializer::enterMember(const std::string& key) {
    const auto& object = document_->get(key);
    if (!object.isObject())
        fail(document_->path(key), "is not an object");
    document_->inner.emplace_back(key, object);
}

void Deserializer::leaveMember(const std::string&) {
    document_->inner.pop_back();
}

std::size_t Deserializer::getSize() const {
    return document_->text.size();
}

bool Deserializer::has(std::string_view key) const {
    return document_->find(key) != nullptr;
}

bool Deserializer::isList(std::string_view key) const {
    const auto* value = document_->find(key);
    return value != nullptr && value->isArray();
}

bool Deserializer::readBool(std::string_view key) const {
    return document_->read(key, &JsonValue::asBool, "is not a boolean");
}

std::int32_t Deserializer::readInt(std::string_view key) const {
    return document_->read(key, &JsonValue::asInteger<std::int32_t>, "is not a signed 32-bit integer");
}

std::uint32_t Deserializer::readUnsigned(std::string_view key) const {
    return document_->read(key, &JsonValue::asInteger<std::uint32_t>, "is not an unsigned 32-bit integer");
}

std::string Deserializer::readString(std::string_view key) const {
    return document_->read(key, &JsonValue::asString, "is not a string");
}

std::uint32_t Deserializer::readUnsigned(std::string_view key, std::uint32_t least,
                                         std::uint32_t most) const {
    const auto value = document_->get(key).asInteger<std::uint32_t>();
    if (!value || *value < least || *value > most)
        fail(document_->path(key),
             "is not an integer from " + std::to_string(least) + " to " + std::to_string(most));
    return *value;
}

double Deserializer::readNumber(std::string_view key, int least, int most) const {
    const auto value = document_->get(key).asNumber();
    if (!value || *value < least || *value > most)
        fail(document_->path(key),
             "is not a number from " + std::to_string(least) + " to " + std::to_string(most));
    return *value + 0.0; // which makes a 0 of -0
}

std::vector<int> Deserializer::readIntList(std::string_view key) const {
    return document_->readList(key, &JsonValue::asInteger<int>, "is not a list of signed 32-bit integers",
                               "is not a signed 32-bit integer");
}

std::vector<unsigned char> Deserializer::readByteList(std::string_view key) const {
    return document_->readList(key, &JsonValue::asInteger<unsigned char>,
                               "is not a list of integers from 0 to 255", "is not an integer from 0 to 255");
}

std::vector<std::string> Deserializer::readStringList(std::string_view key, std::size_t limit) const {
    return document_->readList(key, &JsonValue::asString, "is not a list of strings", "is not a string",
                               limit);
}

void Deserializer::readObjectList(std::string_view key, std::size_t limit,
                                  const std::function<void()>& read) {
    // The member's own place may move when a level is added.
    const JsonValue array = document_->getArray(key, "is not a list of objects", limit);
    std::size_t index = 0;
    array.forEachElement([&](const JsonValue& element) {
        const auto name = std::string(key) + '[' + std::to_string(index++) + ']';
        if (!element.isObject())
            fail(document_->path(name), "is not an object");
        document_->inner.emplace_back(name, element);
        read();
        document_->inner.pop_back();
    });
}

std::string Deserializer::readObjectText(std::string_view key) const {
    const auto* value = document_->find(key);
    if (!value)
        return {};
    if (value->isObject())
        return std::string(value->getText());
    if (auto text = value->asString())
        return std::move(*text);
    const auto where = document_->path(key);
    throw DecodeError(where + " is not a JSON object", where);
}

std::optional<CheckedObject> Deserializer::findObject(std::string_view key) const {
    const auto* value = document_->find(key);
    if (!value || !value->isObject())
        return std::nullopt;
    return CheckedObject{value->getText()};
}

void Deserializer::refuse(std::string_view key, const std::string& problem) const {
    fail(document_->path(key), problem);
}

void Deserializer::refuseUnknown(std::initializer_list<const char*> known) const {
    for (const auto& member : document_->current()) {
        if (std::any_of(known.begin(), known.end(), [&](const char* name) { return member.isNamed(name); }))
            continue;
        std::string storage;
        const auto name = member.key.readString(storage);
        const auto where = document_->path(excerpt(name));
        throw DecodeError("unknown member \"" + where + '"', where);
    }
}

} // namespace Ostrel
