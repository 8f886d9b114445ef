// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Ostrel/Export.h"

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
    void beginObject(std::string_view key) { begin(key, '{'); }
    void endObject(std::string_view) { end('}'); }
    void beginList(std::string_view key) { begin(key, '['); }
    void endList(std::string_view) { end(']'); }

    void write(std::string_view key, bool value);
    void write(std::string_view key, std::int64_t value);
    /// A finite number, in the fewest digits that are read back as the same.
    void write(std::string_view key, double value);
    void write(std::string_view key, std::string_view text);
    /// A text is never meant as a truth value.
    void write(std::string_view key, const char* text) = delete;

    /// Writes a value that is JSON text already, as it stands; whether it is, is up to the caller.
    void writeJson(std::string_view key, std::string_view json);

    /// Makes room for that many bytes in all.
    void reserve(std::size_t size) { text_.reserve(size); }

    /// Makes room for that many bytes behind those that are there, within the limit.
    void reserveMore(std::size_t size);

    /// Hands out the text, which is JSON once everything begun has been ended. The serializer is
    /// empty afterwards.
    std::string generate();

private:
    class Room;

    void begin(std::string_view key, char bracket);
    void end(char bracket);
    void beginValue(std::string_view key, Room& room) const;
    /// @throws TextTooLarge  that many bytes more would be past the limit
    void checkLimit(std::size_t more) const;

    std::string text_;
    std::size_t limit_;
};

/// The keyed writers that every record uses. An empty key writes a list's element.
OSTREL_API void serialize(std::string_view key, const bool& value, Serializer& serializer);
OSTREL_API void serialize(std::string_view key, const int& value, Serializer& serializer);
OSTREL_API void serialize(std::string_view key, const unsigned& value, Serializer& serializer);
OSTREL_API void serialize(std::string_view key, const long& value, Serializer& serializer);
OSTREL_API void serialize(std::string_view key, const double& value, Serializer& serializer);
OSTREL_API void serialize(std::string_view key, const std::string& value, Serializer& serializer);
/// A text is never meant as a truth value.
void serialize(std::string_view key, const char* value, Serializer& serializer) = delete;

/// Appends text as the inside of a JSON string: quotes, backslashes and control characters
/// escaped, everything else as it stands.
OSTREL_API void appendEscaped(std::string& out, std::string_view text);

} // namespace Ostrel
