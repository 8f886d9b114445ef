#pragma once

#include <boost/container/small_vector.hpp>
#include <boost/system/error_code.hpp>

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace Ostrel {

/// Says what keeps a whole text from being JSON, strictly as RFC 8259 has it: valid UTF-8, no byte
/// order mark, nothing behind the value, nested at most 64 deep. No error when it is JSON.
/// @throws std::bad_alloc
boost::system::error_code checkJson(std::string_view text);

struct JsonMember;

/// The members of an object; few of them take no memory of their own.
using JsonMembers = boost::container::small_vector<JsonMember, 8>;

/// A value inside a text that checkJson() has found to be right. It refers into the text, keeps
/// nothing, and reads what it is asked for: no tree is built, so that a text costs little more than
/// its own bytes, whatever stands in it.
class JsonValue {
public:
    /// @param text  a whole JSON text; must outlive the value
    explicit JsonValue(std::string_view text);

    /// The value as it stands in the text.
    std::string_view getText() const { return text_; }

    bool isNull() const { return text_.front() == 'n'; }
    bool isString() const { return text_.front() == '"'; }
    bool isArray() const { return text_.front() == '['; }
    bool isObject() const { return text_.front() == '{'; }
    bool isNumber() const { return !isNull() && !isString() && !isArray() && !isObject() && !asBool(); }

    std::optional<bool> asBool() const;

    /// A number whose value is an integer within the type's range: 1.0, 100e-2 and -0.0 are some too.
    template <std::integral T> std::optional<T> asInteger() const {
        const auto value = asInt64();
        if (!value || !std::in_range<T>(*value))
            return std::nullopt;
        return static_cast<T>(*value);
    }

    /// A number, to the nearest double; nothing when none is near.
    std::optional<double> asNumber() const;

    std::optional<std::string> asString() const;

    /// A string's value without a copy where that can be: in the text, or in the storage when it has
    /// escapes. Only for strings.
    std::string_view readString(std::string& storage) const;

    /// An array's elements, in order; no more than so many. Only for arrays.
    std::vector<JsonValue> getElements(std::size_t limit = std::numeric_limits<std::size_t>::max()) const;

    /// Calls back with each element of an array, in order. Only for arrays.
    template <class Visit> void forEachElement(Visit visit) const {
        for (std::size_t at = 1; findItem(at);)
            visit(takeItem(at));
    }

    /// An object's members, in order, each as often as it stands there. Only for objects.
    JsonMembers getMembers() const;

private:
    struct Bare {}; ///< without blanks around it

    JsonValue(std::string_view text, Bare) : text_(text) {}

    std::optional<std::int64_t> asInt64() const;
    bool findItem(std::size_t& at) const;
    JsonValue takeItem(std::size_t& at) const;

    std::string_view text_; ///< without blanks around it
};

/// A member of an object.
struct JsonMember {
    JsonValue key; ///< a string
    JsonValue value;

    /// @param name  ASCII
    bool isNamed(std::string_view name) const;
};

/// Finds the member that counts, which is the last one of that name; null when there is none.
/// @param name  ASCII
const JsonValue* findMember(const JsonMembers& members, std::string_view name);

} // namespace Ostrel
