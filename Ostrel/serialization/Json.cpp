#include "Ostrel/serialization/Json.h"

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/error.hpp>
#include <boost/json/parse.hpp>

#include <algorithm>
#include <array>
#include <bit>
#include <charconv>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace json = boost::json;

namespace Ostrel {

namespace {

constexpr std::size_t maximumDepth = 64;
constexpr std::string_view blanks = " \t\r\n";

using Error = boost::system::error_code;
using Text = json::string_view;

/// Lets the parser go through a text, and keeps nothing of it.
class Checker {
public:
    static constexpr std::size_t max_object_size = std::numeric_limits<std::size_t>::max();
    static constexpr std::size_t max_array_size = max_object_size;
    static constexpr std::size_t max_key_size = max_object_size;
    static constexpr std::size_t max_string_size = max_object_size;

    bool on_document_begin(Error&) { return true; }
    bool on_document_end(Error&) { return true; }
    bool on_object_begin(Error&) { return true; }
    bool on_object_end(std::size_t, Error&) { return true; }
    bool on_array_begin(Error&) { return true; }
    bool on_array_end(std::size_t, Error&) { return true; }
    bool on_key_part(Text, std::size_t, Error&) { return true; }
    bool on_key(Text, std::size_t, Error&) { return true; }
    bool on_string_part(Text, std::size_t, Error&) { return true; }
    bool on_string(Text, std::size_t, Error&) { return true; }
    bool on_number_part(Text, Error&) { return true; }
    bool on_int64(std::int64_t, Text, Error&) { return true; }
    bool on_uint64(std::uint64_t, Text, Error&) { return true; }
    bool on_double(double, Text, Error&) { return true; }
    bool on_bool(bool, Error&) { return true; }
    bool on_null(Error&) { return true; }
    bool on_comment_part(Text, Error&) { return true; }
    bool on_comment(Text, Error&) { return true; }
};

Error checkOnce(std::string_view text) {
    json::parse_options options;
    options.max_depth = maximumDepth;
    json::basic_parser<Checker> parser(options);
    Error error;
    const auto size = parser.write_some(false, text.data(), text.size(), error);
    if (!error && size < text.size())
        error = json::error::extra_data;
    return error;
}

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

/// Makes every exponent fit into an int: what is cut off is far out of any range before.
std::string clampExponents(std::string_view text) {
    constexpr std::string_view largest = "999999999";
    std::string out;
    out.reserve(text.size());
    bool inString = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        out += text[at];
        if (text[at] == '"') {
            inString = !inString;
        } else if (inString && text[at] == '\\' && at + 1 < text.size()) {
            out += text[++at];
        } else if (!inString && (text[at] == 'e' || text[at] == 'E') && at > 0 && isDigit(text[at - 1])) {
            if (at + 1 < text.size() && (text[at + 1] == '+' || text[at + 1] == '-'))
                out += text[++at];
            const auto first = std::min(text.find_first_not_of('0', at + 1), text.size());
            const auto end = std::min(text.find_first_not_of("0123456789", first), text.size());
            if (end - first > largest.size()) {
                out += largest;
                at = end - 1;
            }
        }
    }
    return out;
}

/// Reads a JSON number as an integer, exactly; nothing when it is none or needs more than 63 bits.
std::optional<std::int64_t> readInteger(std::string_view number) {
    std::int64_t whole = 0;
    const char* const end = number.data() + number.size();
    if (const auto read = std::from_chars(number.data(), end, whole);
        read.ec == std::errc() && read.ptr == end)
        return whole; // as nearly all are

    const auto mark = number.find_first_of("eE");
    const auto mantissa = number.substr(0, mark);
    const auto first = mantissa.find_first_of("123456789");
    if (first == mantissa.npos)
        return 0;
    const auto last = mantissa.find_last_of("123456789");

    // The value is that of the digits from first to last, times ten to this power.
    const auto point = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size()));
    const auto place = static_cast<std::int64_t>(last);
    std::int64_t power = place < point ? point - place - 1 : point - place;
    if (mark != number.npos) {
        const auto exponent = number.substr(number[mark + 1] == '+' ? mark + 2 : mark + 1);
        std::int64_t shift = 0;
        if (std::from_chars(exponent.data(), exponent.data() + exponent.size(), shift).ec != std::errc() ||
            __builtin_add_overflow(power, shift, &power))
            return std::nullopt; // no text is long enough to make up for it
    }
    if (power < 0)
        return std::nullopt;

    const bool negative = number.front() == '-';
    std::int64_t value = 0;
    const auto append = [&](int digit) {
        return !__builtin_mul_overflow(value, 10, &value) &&
               !__builtin_add_overflow(value, negative ? -digit : digit, &value);
    };
    for (const char c : mantissa.substr(first, last - first + 1))
        if (c != '.' && !append(c - '0'))
            return std::nullopt;
    // The value is not 0 here, so that a huge power ends this after 19 rounds.
    for (; power > 0; --power)
        if (!append(0))
            return std::nullopt;
    return value;
}

/// Tells quickly which bytes are among some.
constexpr std::array<bool, 256> makeSet(std::string_view bytes) {
    std::array<bool, 256> set{};
    for (const char byte : bytes)
        set[static_cast<unsigned char>(byte)] = true;
    return set;
}

constexpr auto betweenItems = makeSet(" \t\r\n,:");
constexpr auto behindScalars = makeSet(",]} \t\r\n");

bool isIn(const std::array<bool, 256>& set, char byte) {
    return set[static_cast<unsigned char>(byte)];
}

/// Where the next byte stands that is one of those; there must be one.
template <char... bytes> std::size_t findAny(std::string_view text, std::size_t at) {
#ifdef __SSE2__
    constexpr std::size_t blockSize = 16;
    for (; text.size() - at >= blockSize; at += blockSize) {
        const auto block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(text.data() + at));
        auto found = _mm_setzero_si128();
        ((found = _mm_or_si128(found, _mm_cmpeq_epi8(block, _mm_set1_epi8(bytes)))), ...);
        if (const auto mask = static_cast<unsigned>(_mm_movemask_epi8(found)); mask != 0)
            return at + static_cast<std::size_t>(std::countr_zero(mask));
    }
#endif
    while (((text[at] != bytes) && ...))
        ++at;
    return at;
}

std::size_t skipString(std::string_view text, std::size_t at) {
    for (++at; text[at = findAny<'"', '\\'>(text, at)] != '"';)
        at += 2;
    return at + 1;
}

/// Reads a byte of a string, or an escape as the number of its UTF-16 unit, and goes behind it.
unsigned readCharacter(std::string_view inside, std::size_t& at) {
    constexpr std::string_view signs = "bfnrt";
    constexpr std::string_view controls = "\b\f\n\r\t";
    const char c = inside[at++];
    if (c != '\\')
        return static_cast<unsigned char>(c);
    const char sign = inside[at++];
    if (sign != 'u') {
        const auto found = signs.find(sign);
        return static_cast<unsigned char>(found == signs.npos ? sign : controls[found]);
    }
    unsigned unit = 0;
    std::from_chars(inside.data() + at, inside.data() + at + 4, unit, 16);
    at += 4;
    return unit;
}

/// Where the value ends that begins there.
std::size_t skipValue(std::string_view text, std::size_t at) {
    if (text[at] == '"')
        return skipString(text, at);
    if (text[at] != '{' && text[at] != '[') {
        while (at != text.size() && !isIn(behindScalars, text[at]))
            ++at;
        return at;
    }
    for (int depth = 0;;) {
        at = findAny<'"', '{', '}', '[', ']'>(text, at);
        const char c = text[at];
        if (c == '"') {
            at = skipString(text, at);
            continue;
        }
        ++at;
        if (c == '{' || c == '[')
            ++depth;
        else if (--depth == 0)
            return at;
    }
}

} // namespace

Error checkJson(std::string_view text) {
    const auto error = checkOnce(text);
    // JSON bounds no exponent, but the parser does.
    return error == json::error::exponent_overflow ? checkOnce(clampExponents(text)) : error;
}

JsonValue::JsonValue(std::string_view text) : text_(text) {
    text_.remove_prefix(text_.find_first_not_of(blanks));
    text_ = text_.substr(0, text_.find_last_not_of(blanks) + 1);
}

std::optional<bool> JsonValue::asBool() const {
    if (text_.front() != 't' && text_.front() != 'f')
        return std::nullopt;
    return text_.front() == 't';
}

std::optional<std::int64_t> JsonValue::asInt64() const {
    return isNumber() ? readInteger(text_) : std::nullopt;
}

std::optional<double> JsonValue::asNumber() const {
    double value = 0;
    if (!isNumber() || std::from_chars(text_.data(), text_.data() + text_.size(), value).ec != std::errc())
        return std::nullopt;
    return value;
}

std::optional<std::string> JsonValue::asString() const {
    if (!isString())
        return std::nullopt;
    std::string storage;
    const auto value = readString(storage);
    return storage.empty() ? std::string(value) : std::move(storage);
}

std::string_view JsonValue::readString(std::string& storage) const {
    const auto inside = text_.substr(1, text_.size() - 2);
    if (inside.find('\\') == std::string_view::npos)
        return inside;
    const auto value = json::parse({text_.data(), text_.size()});
    storage.assign(value.get_string().data(), value.get_string().size());
    return storage;
}

/// Goes to the item that comes next; false when there is none any more.
bool JsonValue::findItem(std::size_t& at) const {
    while (isIn(betweenItems, text_[at]))
        ++at;
    return text_[at] != ']' && text_[at] != '}';
}

JsonValue JsonValue::takeItem(std::size_t& at) const {
    const auto begin = at;
    at = skipValue(text_, at);
    return {text_.substr(begin, at - begin), Bare()};
}

std::vector<JsonValue> JsonValue::getElements(std::size_t limit) const {
    std::vector<JsonValue> elements;
    for (std::size_t at = 1; elements.size() < limit && findItem(at);)
        elements.push_back(takeItem(at));
    return elements;
}

JsonMembers JsonValue::getMembers() const {
    JsonMembers members;
    for (std::size_t at = 1; findItem(at);) {
        const auto key = takeItem(at);
        findItem(at);
        members.push_back({key, takeItem(at)});
    }
    return members;
}

// Without decoding the key, of which a long text may hold very many.
bool JsonMember::isNamed(std::string_view name) const {
    const auto raw = key.getText().substr(1, key.getText().size() - 2);
    // Nearly all that are another begin with another letter.
    if (!raw.empty() && !name.empty() && raw.front() != name.front() && raw.front() != '\\')
        return false;
    if (raw.size() <= name.size() || raw.find('\\') == raw.npos)
        return raw == name; // escapes only make it longer
    std::size_t matched = 0;
    for (std::size_t at = 0; at < raw.size(); ++matched) {
        const auto code = readCharacter(raw, at);
        if (matched == name.size() || code != static_cast<unsigned char>(name[matched]))
            return false;
    }
    return matched == name.size();
}

const JsonValue* findMember(const JsonMembers& members, std::string_view name) {
    const auto found = std::find_if(members.rbegin(), members.rend(),
                                    [&](const JsonMember& member) { return member.isNamed(name); });
    return found == members.rend() ? nullptr : &found->value;
}

} // namespace Ostrel
