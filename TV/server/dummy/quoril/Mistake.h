#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace Ostrel::TV {

/// Where an expression stops being one, and why.
struct Mistake {
    enum class Reason : std::uint8_t {
        NoToken, ///< nothing of the language starts there
        ElementExpected,
        OperatorExpected, ///< a comparison, or "in"
        ListExpected,
        NumberExpected,
        CommaExpected, ///< or the end of the list
        ParenthesisExpected, ///< a closing one, or what joins comparisons
        EndExpected, ///< or what joins comparisons
        TooManyParentheses, ///< more than parenthesisLimit
        TooManyNodes, ///< more than nodeLimit
    };

    std::size_t position; ///< bytes from the start of the text, its size at most
    Reason reason;
};

/// Tells people what is wrong: "a field or a number is expected".
/// @param text  the one that the mistake is in
std::string explain(const Mistake& mistake, const std::string& text);

} // namespace Ostrel::TV
