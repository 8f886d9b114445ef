#include "Ostrel/serialization/Json.h"

#include <boost/json/basic_parser_impl.hpp>
#include <boost/json/error.hpp>
#include <boost/json/value_stack.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <utility>

namespace json = boost::json;

namespace Ostrel {

namespace {

constexpr std::size_t maximumDepth = 64;
constexpr std::size_t stackBytes = 1024; ///< of values being built, before the heap is asked

using Error = boost::system::error_code;
using Text = json::string_view;

/// The decimal value of a number's text: digits * 10^power, without zeros at either end.
struct Decimal {
    explicit Decimal(std::string_view text) : negative(text.front() == '-') {
        const auto mark = text.find_first_of("eE");
        const auto mantissa = text.substr(0, mark);
        const auto first = mantissa.find_first_of("123456789");
        if (first == mantissa.npos)
            return;
        const auto last = mantissa.find_last_of("123456789");
        digits = mantissa.substr(first, last - first + 1);

        const auto point = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size()));
        const auto place = static_cast<std::int64_t>(last);
        power = place < point ? point - place - 1 : point - place;
        if (mark != text.npos) {
            const auto exponent = text.substr(text[mark + 1] == '+' ? mark + 2 : mark + 1);
            std::int64_t value = 0; // the parser takes no exponent beyond an int
            std::from_chars(exponent.data(), exponent.data() + exponent.size(), value);
            power += value;
        }
    }

    bool isIntegral() const { return digits.empty() || power >= 0; }

    /// The absolute value of an integer; nothing when it needs more than 64 bits.
    std::optional<std::uint64_t> magnitude() const {
        std::uint64_t value = 0;
        for (const char c : digits)
            if (c != '.' && !append(value, static_cast<unsigned>(c - '0')))
                return std::nullopt;
        // The value is not 0 here, so that a huge power ends this after 20 rounds.
        for (std::int64_t i = 0; i < power; ++i)
            if (!append(value, 0))
                return std::nullopt;
        return value;
    }

    bool negative;
    std::string_view digits; ///< may hold the point; empty when the value is 0
    std::int64_t power = 0; ///< of ten, for the last digit

private:
    static bool append(std::uint64_t& value, unsigned digit) {
        if (value > (std::numeric_limits<std::uint64_t>::max() - digit) / 10)
            return false;
        value = 10 * value + digit;
        return true;
    }
};

/// Builds the value that the parser reads.
class Builder {
public:
    static constexpr std::size_t max_object_size = json::object::max_size();
    static constexpr std::size_t max_array_size = json::array::max_size();
    static constexpr std::size_t max_key_size = json::string::max_size();
    static constexpr std::size_t max_string_size = json::string::max_size();

    explicit Builder(json::storage_ptr storage) : stack_({}, buffer_, sizeof buffer_) {
        stack_.reset(std::move(storage));
    }

    json::value release() { return stack_.release(); }

    bool on_document_begin(Error&) { return true; }
    bool on_document_end(Error&) { return true; }
    bool on_object_begin(Error&) { return true; }
    bool on_object_end(std::size_t size, Error&) { return stack_.push_object(size), true; }
    bool on_array_begin(Error&) { return true; }
    bool on_array_end(std::size_t size, Error&) { return stack_.push_array(size), true; }
    bool on_key_part(Text part, std::size_t, Error&) { return stack_.push_chars(part), true; }
    bool on_key(Text rest, std::size_t, Error&) { return stack_.push_key(rest), true; }
    bool on_string_part(Text part, std::size_t, Error&) { return stack_.push_chars(part), true; }
    bool on_string(Text rest, std::size_t, Error&) { return stack_.push_string(rest), true; }
    bool on_number_part(Text, Error&) { return true; }
    bool on_int64(std::int64_t value, Text, Error&) { return stack_.push_int64(value), true; }
    bool on_uint64(std::uint64_t value, Text, Error&) { return stack_.push_uint64(value), true; }
    bool on_double(double rounded, Text text, Error&) {
        pushNumber(rounded, Decimal({text.data(), text.size()}));
        return true;
    }
    bool on_bool(bool value, Error&) { return stack_.push_bool(value), true; }
    bool on_null(Error&) { return stack_.push_null(), true; }
    bool on_comment_part(Text, Error&) { return true; }
    bool on_comment(Text, Error&) { return true; }

private:
    void pushNumber(double rounded, const Decimal& exact) {
        // Infinity could not be written again: JSON has no text for it.
        constexpr auto largest = std::numeric_limits<double>::max();
        rounded = std::clamp(rounded, -largest, largest);
        if (!exact.isIntegral()) {
            // What was rounded to an integer must not pass for one, nor does its text when the
            // value is written again.
            if (std::trunc(rounded) == rounded && std::abs(rounded) < 0x1p64)
                rounded = exact.negative ? -0.5 : 0.5;
            stack_.push_double(rounded);
            return;
        }
        constexpr std::uint64_t signedLimit = std::uint64_t{1} << 63;
        const auto magnitude = exact.magnitude();
        if (!magnitude || (exact.negative && *magnitude > signedLimit))
            stack_.push_double(rounded);
        else if (exact.negative)
            stack_.push_int64(static_cast<std::int64_t>(0 - *magnitude));
        else if (*magnitude < signedLimit)
            stack_.push_int64(static_cast<std::int64_t>(*magnitude));
        else
            stack_.push_uint64(*magnitude);
    }

    unsigned char buffer_[stackBytes];
    json::value_stack stack_;
};

json::value parseOnce(std::string_view text, json::storage_ptr storage, Error& error) {
    json::parse_options options;
    options.max_depth = maximumDepth;
    json::basic_parser<Builder> parser(options, std::move(storage));
    error.clear();
    const auto size = parser.write_some(false, text.data(), text.size(), error);
    if (!error && size < text.size())
        error = json::error::extra_data;
    return error ? json::value(nullptr) : parser.handler().release();
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

} // namespace

json::value parseJson(std::string_view text, json::storage_ptr storage, Error& error) {
    auto value = parseOnce(text, storage, error);
    // JSON bounds no exponent, but the parser does.
    if (error == json::error::exponent_overflow)
        value = parseOnce(clampExponents(text), std::move(storage), error);
    return value;
}

} // namespace Ostrel
