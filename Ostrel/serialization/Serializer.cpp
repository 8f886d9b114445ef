#include "Ostrel/serialization/Serializer.h"

#include "Ostrel/text/Utf8.h"

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>
#include <cstring>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Ostrel {

namespace {

constexpr std::size_t pieceSize = 4096; ///< bytes escaped between two looks at the limit

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

constexpr std::ptrdiff_t blockSize = 16; ///< bytes looked at together

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
    for (int i = 0; i != blockSize; ++i) {
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

/// Does what appendEscaped() does.
/// @returns whether all of it is ASCII
bool escapeInto(std::string& out, std::string_view text) {
    constexpr std::size_t roomSize = 8192;
    constexpr std::size_t pieceMost = roomSize / longestEscape - blockSize;
    char room[roomSize]; // filled without a look at the capacity of the text
    unsigned wide = 0;
    const char* from = text.data();
    const char* const textEnd = from + text.size();
    while (from != textEnd) {
        const char* const end =
            from + std::min<std::size_t>(static_cast<std::size_t>(textEnd - from), pieceMost);
        char* to = room;
        // A whole block is copied at once, and again what follows each byte that grows: that is
        // one more block at most, hence the distance from the end.
        for (; end - from >= 2 * blockSize; from += blockSize) {
            std::memcpy(to, from, blockSize);
            unsigned done = 0;
            for (unsigned found = findEscapes(from, wide); found != 0; found &= found - 1) {
                const auto next = static_cast<unsigned>(std::countr_zero(found));
                to = escape(to + (next - done), from[next]);
                done = next + 1;
                std::memcpy(to, from + done, blockSize);
            }
            to += static_cast<unsigned>(blockSize) - done;
        }
        for (; end - from >= blockSize && findEscapes(from, wide) == 0; from += blockSize, to += blockSize)
            std::memcpy(to, from, blockSize);
        for (; from != end; ++from) {
            wide |= static_cast<unsigned char>(*from) & 0x80u;
            to = escape(to, *from);
        }
        out.append(room, to);
    }
    return wide == 0;
}

} // namespace

TextTooLarge::TextTooLarge(std::size_t limit)
    : text_("the reply is larger than " + std::to_string(limit) + " bytes") {}

Serializer::Serializer(std::size_t limit, std::string room) : text_(std::move(room)), limit_(limit) {}

void Serializer::beginObject(std::string_view key) {
    beginValue(key);
    text_ += '{';
    checkLimit();
}

void Serializer::endObject(std::string_view) {
    text_ += '}';
    checkLimit();
}

void Serializer::beginList(std::string_view key) {
    beginValue(key);
    text_ += '[';
    checkLimit();
}

void Serializer::endList(std::string_view) {
    text_ += ']';
    checkLimit();
}

void Serializer::write(std::string_view key, bool value) {
    writeJson(key, value ? "true" : "false");
}

void Serializer::write(std::string_view key, std::int64_t value) {
    char digits[std::numeric_limits<std::int64_t>::digits10 + 2];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    writeJson(key, {digits, static_cast<std::size_t>(end - digits)});
}

void Serializer::write(std::string_view key, double value) {
    char digits[32];
    const auto end = std::to_chars(std::begin(digits), std::end(digits), value).ptr;
    writeJson(key, {digits, static_cast<std::size_t>(end - digits)});
}

void Serializer::write(std::string_view key, std::string_view text) {
    beginValue(key);
    checkLimit(text.size());
    text_ += '"';
    const auto start = text_.size();
    if (!appendText(text) && !isUtf8(text)) {
        std::string mended(text);
        makeUtf8(mended);
        text_.resize(start);
        appendText(mended);
    }
    text_ += '"';
    checkLimit();
}

bool Serializer::appendText(std::string_view text) {
    bool isAscii = true;
    for (; text.size() > pieceSize; text.remove_prefix(pieceSize)) {
        isAscii &= escapeInto(text_, text.substr(0, pieceSize));
        checkLimit();
    }
    return escapeInto(text_, text) && isAscii;
}

void Serializer::writeJson(std::string_view key, std::string_view json) {
    beginValue(key);
    checkLimit(json.size());
    text_ += json;
}

void Serializer::reserveMore(std::size_t size) {
    const auto left = limit_ - std::min(limit_, text_.size());
    text_.reserve(text_.size() + std::min(size, left));
}

std::string Serializer::generate() {
    return std::exchange(text_, {});
}

void Serializer::beginValue(std::string_view key) {
    // A finished value ends in none of the three bytes, hence a comma is due behind all others.
    if (!text_.empty() && text_.back() != '{' && text_.back() != '[' && text_.back() != ':')
        text_ += ',';
    if (key.empty())
        return;
    text_ += '"';
    appendEscaped(text_, key);
    text_ += "\":";
}

void Serializer::checkLimit(std::size_t more) const {
    if (text_.size() > limit_ || more > limit_ - text_.size())
        throw TextTooLarge(limit_);
}

void serialize(std::string_view key, const bool& value, Serializer& serializer) {
    serializer.write(key, value);
}

void serialize(std::string_view key, const int& value, Serializer& serializer) {
    serializer.write(key, std::int64_t{value});
}

void serialize(std::string_view key, const unsigned& value, Serializer& serializer) {
    serializer.write(key, std::int64_t{value});
}

void serialize(std::string_view key, const long& value, Serializer& serializer) {
    serializer.write(key, std::int64_t{value});
}

void serialize(std::string_view key, const double& value, Serializer& serializer) {
    serializer.write(key, value);
}

void serialize(std::string_view key, const std::string& value, Serializer& serializer) {
    serializer.write(key, std::string_view(value));
}

void appendEscaped(std::string& out, std::string_view text) {
    escapeInto(out, text);
}

} // namespace Ostrel
