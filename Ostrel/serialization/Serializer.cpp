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
    for (; end - from >= 2 * blockSize; from += blockSize)
        block(from, blockSize);
    const auto left = static_cast<std::size_t>(end - from);
    if (left == 0)
        return to;
    char rest[3 * blockSize]; // the end, and blanks behind it, which need no escape
    std::memset(rest, ' ', sizeof rest);
    std::memcpy(rest, from, left);
    for (std::size_t at = 0; at < left; at += blockSize)
        block(rest + at, std::min<std::size_t>(blockSize, left - at));
    return to;
}

} // namespace

/// Where a member is put together before it becomes part of the text, all at once: there it needs no
/// look at the capacity for each of its parts.
class Serializer::Room {
public:
    explicit Room(Serializer& owner) : owner_(owner) {}

    void add(char byte) { *end_++ = byte; }
    void add(std::string_view bytes) {
        std::memcpy(end_, bytes.data(), bytes.size());
        end_ += bytes.size();
    }
    template <class Number> void addNumber(Number number) {
        constexpr std::size_t mostDigits = 32;
        end_ = std::to_chars(end_, end_ + mostDigits, number).ptr;
    }

    /// Makes room for a text, or for its first piece.
    void prepare(std::string_view text) {
        if (text.size() > mostText || end_ > room_ + shortKey)
            flush();
    }

    /// Adds a text that there has been made room for as the inside of a JSON string.
    /// @returns whether all of it is ASCII
    bool addEscaped(std::string_view text) {
        unsigned wide = 0;
        for (; text.size() > mostText; text.remove_prefix(mostText)) {
            end_ = escapeTo(end_, text.data(), mostText, wide);
            flush();
        }
        end_ = escapeTo(end_, text.data(), text.size(), wide);
        return wide == 0;
    }

    std::size_t size() const { return static_cast<std::size_t>(end_ - room_); }
    void cut(std::size_t size) { end_ = room_ + size; }

    /// @throws TextTooLarge
    void flush() {
        owner_.checkLimit(size());
        owner_.text_.append(room_, size());
        end_ = room_;
    }

private:
    static constexpr std::size_t mostText = 1300; ///< bytes of a text that are escaped at a time
    static constexpr std::size_t shortKey = 256; ///< bytes of a key that a text fits in behind

    Serializer& owner_;
    char room_[shortKey + mostText * longestEscape + 4 * blockSize];
    char* end_ = room_;
};

TextTooLarge::TextTooLarge(std::size_t limit)
    : text_("the reply is larger than " + std::to_string(limit) + " bytes") {}

Serializer::Serializer(std::size_t limit, std::string room) : text_(std::move(room)), limit_(limit) {}

void Serializer::begin(std::string_view key, char bracket) {
    Room room(*this);
    beginValue(key, room);
    room.add(bracket);
    room.flush();
}

void Serializer::end(char bracket) {
    checkLimit(1);
    text_ += bracket;
}

void Serializer::write(std::string_view key, bool value) {
    writeJson(key, value ? "true" : "false");
}

void Serializer::write(std::string_view key, std::int64_t value) {
    Room room(*this);
    beginValue(key, room);
    room.addNumber(value);
    room.flush();
}

void Serializer::write(std::string_view key, double value) {
    Room room(*this);
    beginValue(key, room);
    room.addNumber(value);
    room.flush();
}

void Serializer::write(std::string_view key, std::string_view text) {
    checkLimit(text.size());
    Room room(*this);
    beginValue(key, room);
    room.add('"');
    room.prepare(text);
    const auto start = text_.size(), startInRoom = room.size();
    if (!room.addEscaped(text) && !isUtf8(text)) {
        std::string mended(text);
        makeUtf8(mended);
        text_.resize(start);
        room.cut(startInRoom);
        room.prepare(mended);
        room.addEscaped(mended);
    }
    room.add('"');
    room.flush();
}

void Serializer::writeJson(std::string_view key, std::string_view json) {
    Room room(*this);
    beginValue(key, room);
    room.flush();
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

void Serializer::beginValue(std::string_view key, Room& room) const {
    // A finished value ends in none of the three bytes, hence a comma is due behind all others.
    if (!text_.empty() && text_.back() != '{' && text_.back() != '[' && text_.back() != ':')
        room.add(',');
    if (key.empty())
        return;
    room.add('"');
    room.prepare(key);
    const auto isPlain = [](char byte) { return escapes[static_cast<unsigned char>(byte)] == 0; };
    if (key.size() <= blockSize * 2 && std::all_of(key.begin(), key.end(), isPlain))
        room.add(key); // as nearly all are
    else
        room.addEscaped(key);
    room.add("\":");
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
    unsigned wide = 0;
    char room[1024];
    constexpr auto most = (sizeof room - blockSize) / longestEscape;
    while (!text.empty()) {
        const auto piece = text.substr(0, most);
        out.append(room, escapeTo(room, piece.data(), piece.size(), wide));
        text.remove_prefix(piece.size());
    }
}

} // namespace Ostrel
