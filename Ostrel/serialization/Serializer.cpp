#include "Ostrel/serialization/Serializer.h"

#include "Ostrel/text/Utf8.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <iterator>
#include <type_traits>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Ostrel {

namespace {

/// For each byte what follows the backslash in its escape; 0 for those that need none.
constexpr std::array<char, 256> escapes = [] {
    std::array<char, 256> table{};
    for (unsigned byte = 0; byte < 0x20; ++byte)
        table[byte] = 'u';
    table['\b'] = 'b';
    table['\f'] = 'f';
    table['\n'] = 'n';
    table['\r'] = 'r';
    table['\t'] = 't';
    table['"'] = '"';
    table['\\'] = '\\';
    return table;
}();

constexpr std::size_t longestEscape = 6; ///< bytes

constexpr std::size_t blockSize = 16; ///< bytes looked at together

/// A bit for each byte of a block that needs an escape.
/// @param wide  gets bits set when a byte is not ASCII
unsigned findEscapes(const char* block, unsigned& wide) {
#ifdef __SSE2__
    const auto bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(block));
    wide |= static_cast<unsigned>(_mm_movemask_epi8(bytes));
    const auto controls = _mm_cmpeq_epi8(_mm_min_epu8(bytes, _mm_set1_epi8(0x1f)), bytes);
    const auto quotes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('"'));
    const auto backslashes = _mm_cmpeq_epi8(bytes, _mm_set1_epi8('\\'));
    return static_cast<unsigned>(
        _mm_movemask_epi8(_mm_or_si128(controls, _mm_or_si128(quotes, backslashes))));
#else
    unsigned found = 0;
    for (std::size_t i = 0; i != blockSize; ++i) {
        const auto byte = static_cast<unsigned char>(block[i]);
        found |= unsigned{escapes[byte] != 0} << i;
        wide |= byte & 0x80u;
    }
    return found;
#endif
}

/// Writes a byte, as it stands or escaped, and returns what is behind it.
char* escape(char* to, char byte) {
    constexpr char digits[] = "0123456789abcdef";
    const auto code = static_cast<unsigned char>(byte);
    const char sign = escapes[code];
    if (sign == 'u') {
        std::string_view("\\u00").copy(to, 4);
        to[4] = digits[code >> 4];
        to[5] = digits[code & 15];
        return to + 6;
    }
    // No branch: quotation marks come too often, and too irregularly, to be guessed.
    to[0] = '\\';
    to += sign != 0;
    to[0] = sign != 0 ? sign : byte;
    return to + 1;
}

constexpr std::size_t shortText = 2 * blockSize; ///< bytes
static_assert(MemberName::shortName == shortText);

/// Copies no more than shortText bytes, without a call: two pieces that may overlap.
inline void copyShort(char* to, const char* from, std::size_t size) {
    const auto copyEnds = [&](auto piece) {
        std::memcpy(to, from, piece);
        std::memcpy(to + size - piece, from + size - piece, piece);
    };
    if (size >= blockSize)
        copyEnds(std::integral_constant<std::size_t, blockSize>());
    else if (size >= 8)
        copyEnds(std::integral_constant<std::size_t, 8>());
    else if (size >= 4)
        copyEnds(std::integral_constant<std::size_t, 4>());
    else
        for (std::size_t i = 0; i != size; ++i)
            to[i] = from[i];
}

/// Whether a text is no longer than shortText, ASCII, and has nothing to escape.
inline bool isShortAndPlain(std::string_view text) {
    if (text.size() > shortText)
        return false;
    unsigned wide = 0;
    if (text.size() >= blockSize)
        return (findEscapes(text.data(), wide) | findEscapes(text.data() + text.size() - blockSize, wide) |
                wide) == 0;
    char block[blockSize];
    std::memset(block, ' ', sizeof block);
    copyShort(block, text.data(), text.size());
    return (findEscapes(block, wide) | wide) == 0;
}

/// Writes text as the inside of a JSON string, in whole blocks: there must be room for a block more
/// than the text can become.
/// @param wide  gets bits set when a byte is not ASCII
/// @returns what is behind it
char* escapeTo(char* to, const char* from, std::size_t size, unsigned& wide) {
    const auto block = [&](const char* at, std::size_t bytes) {
        std::memcpy(to, at, blockSize);
        unsigned done = 0;
        for (unsigned found = findEscapes(at, wide); found != 0; found &= found - 1) {
            const auto next = static_cast<unsigned>(std::countr_zero(found));
            to = escape(to + (next - done), at[next]);
            done = next + 1;
            std::memcpy(to, at + done, blockSize);
        }
        to += bytes - done;
    };
    const char* const end = from + size;
    // What follows a byte that grows is copied again, a block at once: hence the distance from the end.
    for (; static_cast<std::size_t>(end - from) >= 2 * blockSize; from += blockSize)
        block(from, blockSize);
    const auto left = static_cast<std::size_t>(end - from);
    if (left == 0)
        return to;
    char rest[3 * blockSize]; // the end, and blanks behind it, which need no escape
    std::memset(rest, ' ', sizeof rest);
    copyShort(rest, from, left);
    for (std::size_t at = 0; at < left; at += blockSize)
        block(rest + at, std::min(blockSize, left - at));
    return to;
}

constexpr std::size_t pieceSize = 256; ///< bytes of a text that are escaped at a time

/// Room that escaping a text of no more than pieceSize bytes may want, of which it may use less.
constexpr std::size_t mostOf(std::size_t size) {
    return size * longestEscape + blockSize;
}

} // namespace

TextTooLarge::TextTooLarge(std::size_t limit)
    : text_("the reply is larger than " + std::to_string(limit) + " bytes") {}

Serializer::Serializer(std::size_t limit, std::string room) : text_(std::move(room)), limit_(limit) {}

void Serializer::begin(MemberName key, char bracket) {
    *beginValue(key, 1) = bracket;
    isFirst_ = true;
}

void Serializer::end(char bracket) {
    *take(1) = bracket;
    isFirst_ = false;
}

void Serializer::write(MemberName key, bool value) {
    if (value)
        std::memcpy(beginValue(key, 4), "true", 4);
    else
        std::memcpy(beginValue(key, 5), "false", 5);
}

void Serializer::write(MemberName key, std::int64_t value) {
    char digits[shortText];
    const auto size = static_cast<std::size_t>(std::to_chars(digits, std::end(digits), value).ptr - digits);
    copyShort(beginValue(key, size), digits, size);
}

void Serializer::write(MemberName key, double value) {
    char digits[shortText];
    const auto size = static_cast<std::size_t>(std::to_chars(digits, std::end(digits), value).ptr - digits);
    copyShort(beginValue(key, size), digits, size);
}

void Serializer::write(MemberName key, std::string_view text) {
    if (isShortAndPlain(text)) {
        char* const to = beginValue(key, text.size() + 2);
        *to = '"';
        copyShort(to + 1, text.data(), text.size());
        to[text.size() + 1] = '"';
        return;
    }
    checkLimit(text.size());
    *beginValue(key, 1) = '"';
    constexpr std::size_t behind = 64; // for what ends the records that it stands in
    expectMore(text.size() + behind);
    const auto start = size_;
    if (!addEscaped(text) && !isUtf8(text)) {
        std::string mended(text);
        makeUtf8(mended);
        size_ = start;
        addEscaped(mended);
    }
    *take(1) = '"';
}

void Serializer::writeJson(MemberName key, std::string_view json) {
    checkLimit(json.size());
    json.copy(beginValue(key, json.size()), json.size());
}

std::string Serializer::generate() {
    text_.resize(size_);
    size_ = end_ = expected_ = 0;
    isFirst_ = true;
    return std::exchange(text_, {});
}

/// Writes what stands before a value, and makes room for it.
/// @param size  bytes of the value, or of its begin
/// @returns where they belong
inline char* Serializer::beginValue(MemberName key, std::size_t size) {
    constexpr std::size_t quotesAndColon = 3;
    const auto name = key.getText();
    const std::size_t comma = isFirst_ ? 0 : 1;
    isFirst_ = false;
    if (!key.isPlain() && !isShortAndPlain(name)) {
        if (comma != 0)
            *take(1) = ',';
        addEscapedName(name);
        return take(size);
    }
    char* to = take(comma + (name.empty() ? 0 : name.size() + quotesAndColon) + size);
    if (comma != 0)
        *to++ = ',';
    if (name.empty())
        return to;
    *to++ = '"';
    copyShort(to, name.data(), name.size());
    to += name.size();
    *to++ = '"';
    *to++ = ':';
    return to;
}

void Serializer::addEscapedName(std::string_view name) {
    *take(1) = '"';
    addEscaped(name);
    std::memcpy(take(2), "\":", 2);
}

/// Adds text as the inside of a JSON string.
/// @returns whether all of it is ASCII
bool Serializer::addEscaped(std::string_view text) {
    unsigned wide = 0;
    while (!text.empty()) {
        const auto piece = text.substr(0, pieceSize);
        text.remove_prefix(piece.size());
        if (hasRoom(mostOf(piece.size()))) {
            char* const to = text_.data() + size_;
            size_ += static_cast<std::size_t>(escapeTo(to, piece.data(), piece.size(), wide) - to);
            continue;
        }
        char aside[mostOf(pieceSize)];
        const auto size = static_cast<std::size_t>(escapeTo(aside, piece.data(), piece.size(), wide) - aside);
        std::memcpy(take(size), aside, size);
    }
    return wide == 0;
}

/// Makes room for that many bytes, which the caller writes.
inline char* Serializer::take(std::size_t size) {
    if (size > end_ - size_) [[unlikely]]
        widen(size);
    return text_.data() + std::exchange(size_, size_ + size);
}

/// Whether there is room for that many bytes without further memory, and within the limit.
inline bool Serializer::hasRoom(std::size_t size) {
    if (size > end_ - size_ && size <= std::min(text_.capacity(), limit_) - size_)
        layOut(size);
    return size <= end_ - size_;
}

/// Makes room for that many bytes.
void Serializer::widen(std::size_t size) {
    checkLimit(size);
    if (size > text_.capacity() - size_)
        text_.reserve(std::max({size_ + size, expected_, text_.capacity() * 2}));
    layOut(size);
}

/// A string's room must be written to before it is used: some of it at a time, so that it is still
/// at hand then.
void Serializer::layOut(std::size_t size) {
    constexpr std::size_t some = 1024;
    const auto next = std::min(text_.size() + some, text_.capacity());
    text_.resize(std::max({size_ + size, next, text_.size()}));
    end_ = std::min(text_.size(), limit_);
}

void Serializer::checkLimit(std::size_t more) const {
    if (more > limit_ - size_)
        throw TextTooLarge(limit_);
}

void serialize(MemberName key, const bool& value, Serializer& serializer) {
    serializer.write(key, value);
}

void serialize(MemberName key, const int& value, Serializer& serializer) {
    serializer.write(key, std::int64_t{value});
}

void serialize(MemberName key, const unsigned& value, Serializer& serializer) {
    serializer.write(key, std::int64_t{value});
}

void serialize(MemberName key, const long& value, Serializer& serializer) {
    serializer.write(key, std::int64_t{value});
}

void serialize(MemberName key, const double& value, Serializer& serializer) {
    serializer.write(key, value);
}

void serialize(MemberName key, const std::string& value, Serializer& serializer) {
    serializer.write(key, std::string_view(value));
}

void appendEscaped(std::string& out, std::string_view text) {
    unsigned wide = 0;
    char aside[mostOf(pieceSize)];
    while (!text.empty()) {
        const auto piece = text.substr(0, pieceSize);
        out.append(aside, escapeTo(aside, piece.data(), piece.size(), wide));
        text.remove_prefix(piece.size());
    }
}

} // namespace Ostrel
