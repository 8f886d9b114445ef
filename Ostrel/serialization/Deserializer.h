// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"
#include "Ostrel/serialization/DecodeError.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel {

/// The text of a JSON object that is known to be right, since the text that it is a part of is.
struct CheckedObject {
    std::string_view text;
};

/// Reads the members of a JSON object by their keys.
///
/// The text is JSON as RFC 8259 has it, strictly, nested at most 64 deep; of duplicate
/// members the last one counts. A number is an integer when its value is (1.0 and 1e0 are 1);
/// nothing is rounded or wrapped. Every reader throws a DecodeError that names the member by
/// its path and says what was expected. Members that nobody asks for are ignored.
///
/// What is read is the caller's and outlives the deserializer. One text, one thread.
class OSTREL_API Deserializer {
public:
    /// Copies what it needs of the text.
    /// @param name  what the text is, for the messages `missing NAME` and `NAME is not a JSON object`
    /// @throws DecodeError  the text is empty or no JSON object; NAME is the member
    explicit Deserializer(const std::string& text, const std::string& name = "payload");

    /// Reads it where it stands, and without a further look at what is right: the text must outlive
    /// the deserializer.
    explicit Deserializer(const CheckedObject& object);

    /// Makes the object under that key the one whose members are read, until leaveMember().
    /// @throws DecodeError  there is no such member, or it is no object
    virtual void enterMember(const std::string& key);

    /// Goes back to the object that holds the member entered last.
    virtual void leaveMember(const std::string& key);

    virtual ~Deserializer();

    Deserializer(const Deserializer&) = delete;
    Deserializer& operator=(const Deserializer&) = delete;

    /// Bytes of the whole text.
    std::size_t getSize() const;

    /// Whether the current object has a member of that name, null included.
    bool has(std::string_view key) const;

    /// Whether it has one that is a list.
    bool isList(std::string_view key) const;

    /// Each reads a member of the current object, which must be there and of that type.
    bool readBool(std::string_view key) const;
    std::int32_t readInt(std::string_view key) const;
    std::uint32_t readUnsigned(std::string_view key) const;
    std::string readString(std::string_view key) const;
    /// An integer from the one to the other.
    std::uint32_t readUnsigned(std::string_view key, std::uint32_t least, std::uint32_t most) const;
    /// A number from the one to the other, with a fraction or without, to the nearest double.
    double readNumber(std::string_view key, int least, int most) const;
    std::vector<int> readIntList(std::string_view key) const;
    /// A list of integers from 0 to 255.
    std::vector<unsigned char> readByteList(std::string_view key) const;
    /// @param limit  how many strings the list may have
    std::vector<std::string> readStringList(std::string_view key, std::size_t limit) const;

    /// Reads a list of objects: makes each in turn the one whose members are read, and calls back.
    /// @param limit  how many objects the list may have
    void readObjectList(std::string_view key, std::size_t limit, const std::function<void()>& read);

    /// Reads a member that holds an object or the text of one: returns the text, or an empty text
    /// when there is no such member. The text that a client gives as such is not looked into.
    std::string readObjectText(std::string_view key) const;

    /// For records whose members may be left out, where an unknown name is a typing error.
    /// @throws DecodeError  the current object has a member that is not among these
    void refuseUnknown(std::initializer_list<const char*> known) const;

    /// Returns where a member stands that holds an object; nothing when it holds none. It refers to
    /// the text that is read.
    std::optional<CheckedObject> findObject(std::string_view key) const;

    /// For what a record refuses by rules of its own.
    /// @throws DecodeError  `member "PATH" PROBLEM`
    [[noreturn]] void refuse(std::string_view key, const std::string& problem) const;

private:
    struct Document;
    std::unique_ptr<Document> document_;
};

/// Reads the member under that key, which must be there, as a T: bool, int, unsigned or
/// std::string.
template <typename T> T deserialize(std::string_view key, Deserializer& deserializer);

template <> inline bool deserialize<bool>(std::string_view key, Deserializer& deserializer) {
    return deserializer.readBool(key);
}
template <> inline int deserialize<int>(std::string_view key, Deserializer& deserializer) {
    return deserializer.readInt(key);
}
template <> inline unsigned deserialize<unsigned>(std::string_view key, Deserializer& deserializer) {
    return deserializer.readUnsigned(key);
}
template <> inline std::string deserialize<std::string>(std::string_view key, Deserializer& deserializer) {
    return deserializer.readString(key);
}

/// Reads the member under that key, or gives the fallback when there is none.
template <typename T> T deserialize(std::string_view key, Deserializer& deserializer, const T& fallback) {
    return deserializer.has(key) ? deserialize<T>(key, deserializer) : fallback;
}

/// Reads a whole record from the text of a method's params.
/// @throws DecodeError  the text is no JSON object, or the record refuses a member
template <typename T> T deserialize(const std::string& params) {
    Deserializer deserializer(params, "params");
    return T(deserializer);
}

/// Reads a list of records, at most so many, which must be there.
template <typename T>
std::vector<T> deserializeList(std::string_view key, Deserializer& deserializer, std::size_t limit) {
    std::vector<T> list;
    deserializer.readObjectList(key, limit, [&] { list.emplace_back(deserializer); });
    return list;
}

/// Reads a record from the object under that key, which must be there. Never null; the caller
/// deletes it.
template <typename T> T* createSerialObject(const std::string& key, Deserializer& deserializer) {
    deserializer.enterMember(key);
    auto object = std::make_unique<T>(deserializer);
    deserializer.leaveMember(key);
    return object.release();
}

} // namespace Ostrel
