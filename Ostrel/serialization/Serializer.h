// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <exception>
#include <limits>
#include <string>
#include <string_view>

namespace Ostrel {

/// A text grew past the limit that its Serializer was given. Nothing of it can be used.
class OSTREL_API TextTooLarge : public std::exception {
public:
    explicit TextTooLarge(std::size_t limit);
    const char* what() const noexcept override { return text_.c_str(); }

private:
    std::string text_;
};

/// What a member is called; empty where there is nothing to be called.
///
/// Of a literal the compiler sees that nothing in it wants an escape. Others are looked at when they
/// are written. It refers to the text that it is given.
class MemberName {
public:
    template <std::size_t size>
    consteval MemberName(const char (&literal)[size]) // implicit: a literal is all that most want
        : text_(literal), sizeAndPlain_((size - 1) << 1 | std::size_t{isPlain({literal, size - 1})}) {}
    MemberName(std::string_view text) : text_(text.data()), sizeAndPlain_(text.size() << 1) {}
    MemberName(const std::string& text) : MemberName(std::string_view(text)) {}
    template <typename Text>
    requires std::same_as<Text, const char*> MemberName(const Text& text)
        : MemberName(std::string_view(text)) {}

    std::string_view getText() const { return {text_, sizeAndPlain_ >> 1}; }

    /// Whether it is short and is known to have nothing to escape.
    bool isPlain() const { return (sizeAndPlain_ & 1) != 0; }

    static constexpr std::size_t shortName = 32; ///< bytes

private:
    static constexpr bool isPlain(std::string_view text) {
        for (const char byte : text)
            if (static_cast<unsigned char>(byte) < ' ' || byte == '"' || byte == '\\')
                return false;
        return text.size() <= shortName;
    }

    const char* text_;
    /// One word, since a name then travels in two registers; clang 14 makes no constants of bit-fields.
    std::size_t sizeAndPlain_;
};

/// Writes JSON text as it comes, straight into the string that travels.
///
/// Members appear in the order of the calls. An empty key writes no name: that is how the
/// elements of a list and the outermost value are written. Texts are escaped where JSON wants
/// it; what is no UTF-8 in them is replaced by U+FFFD, for JSON is UTF-8 and clients hang up on
/// anything else.
///
/// One text, one thread.
class OSTREL_API Serializer {
public:
    /// @param limit  bytes; a text that would grow past it throws TextTooLarge
    /// @param room   an empty text whose room is used first
    explicit Serializer(std::size_t limit = std::numeric_limits<std::size_t>::max(), std::string room = {});

    /// What is begun must be ended, under the same key. These and all that write below throw
    /// TextTooLarge at the limit, and std::bad_alloc.
    void beginObject(MemberName key) { begin(key, '{'); }
    void endObject(MemberName) { end('}'); }
    void beginList(MemberName key) { begin(key, '['); }
    void endList(MemberName) { end(']'); }

    void write(MemberName key, bool value);
    void write(MemberName key, std::int64_t value);
    /// A finite number, in the fewest digits that are read back as the same.
    void write(MemberName key, double value);
    void write(MemberName key, std::string_view text);
    /// A text is never meant as a truth value.
    void write(MemberName key, const char* text) = delete;

    /// Writes a value that is JSON text already, as it stands; whether it is, is up to the caller.
    void writeJson(MemberName key, std::string_view json);

    /// Makes room for that many bytes in all.
    void reserve(std::size_t size) { text_.reserve(size); }

    /// Tells that about so many bytes more will come: when there is no room left, there will be for all
    /// of them.
    void expectMore(std::size_t size) {
        expected_ = std::max(expected_, size_ + std::min(size, limit_ - size_));
    }

    /// Bytes that have been written.
    std::size_t getSize() const { return size_; }

    /// Hands out the text, which is JSON once everything begun has been ended. The serializer is
    /// empty afterwards.
    std::string generate();

private:
    void begin(MemberName key, char bracket);
    void end(char bracket);
    char* beginValue(MemberName key, std::size_t size);
    void addEscapedName(std::string_view name);
    bool addEscaped(std::string_view text);
    char* take(std::size_t size);
    bool hasRoom(std::size_t size);
    void widen(std::size_t size);
    void layOut(std::size_t size);
    /// @throws TextTooLarge  that many bytes more would be past the limit
    void checkLimit(std::size_t more) const;

    std::string text_; ///< longer than what has been written: what is behind that is free
    std::size_t size_ = 0; ///< bytes that have been written
    std::size_t end_ = 0; ///< of what may be written to without a further look
    std::size_t expected_ = 0; ///< bytes that there may come to be in all
    std::size_t limit_;
    bool isFirst_ = true; ///< no comma is due before the next value
};

/// The keyed writers that every record uses. An empty key writes a list's element.
OSTREL_API void serialize(MemberName key, const bool& value, Serializer& serializer);
OSTREL_API void serialize(MemberName key, const int& value, Serializer& serializer);
OSTREL_API void serialize(MemberName key, const unsigned& value, Serializer& serializer);
OSTREL_API void serialize(MemberName key, const long& value, Serializer& serializer);
OSTREL_API void serialize(MemberName key, const double& value, Serializer& serializer);
OSTREL_API void serialize(MemberName key, const std::string& value, Serializer& serializer);
/// A text is never meant as a truth value.
void serialize(MemberName key, const char* value, Serializer& serializer) = delete;

/// Appends text as the inside of a JSON string: quotes, backslashes and control characters
/// escaped, everything else as it stands.
OSTREL_API void appendEscaped(std::string& out, std::string_view text);

} // namespace Ostrel
