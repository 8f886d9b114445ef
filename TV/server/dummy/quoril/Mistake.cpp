#include "TV/server/dummy/quoril/Mistake.h"

#include "TV/server/dummy/quoril/Limits.h"

namespace Ostrel::TV {

namespace {

std::string explainCharacter(char character) {
    switch (character) {
    case '=':
        return "\"=\" alone is no operator; == compares";
    case '&':
        return "\"&\" alone is no operator; && means both";
    case '|':
        return "\"|\" alone is no operator; || means either";
    case '-':
        return "a digit from 0 to 8 is expected behind the minus sign";
    case '"':
        return "the text in quotation marks has no end";
    case '\t':
    case '\n':
    case '\r':
        return "only blanks may stand between words, no tabs and line breaks";
    case '!':
        return "there is no \"not\" in the query language";
    default:
        return "the query language does not have this character";
    }
}

} // namespace

std::string explain(const Mistake& mistake, const std::string& text) {
    switch (mistake.reason) {
    case Mistake::Reason::NoToken:
        return explainCharacter(mistake.position < text.size() ? text[mistake.position] : '\0');
    case Mistake::Reason::ElementExpected:
        return "a field or a number is expected";
    case Mistake::Reason::OperatorExpected:
        return "==, <, <=, >, >= or in is expected";
    case Mistake::Reason::ListExpected:
        return "a list such as (1000, 1001) is expected";
    case Mistake::Reason::NumberExpected:
        return "a number is expected";
    case Mistake::Reason::CommaExpected:
        return ", or ) is expected";
    case Mistake::Reason::ParenthesisExpected:
        return "&&, || or ) is expected";
    case Mistake::Reason::EndExpected:
        return "&&, || or the end is expected";
    case Mistake::Reason::TooManyParentheses:
        return "no more than " + std::to_string(parenthesisLimit) + " parentheses may be open at once";
    case Mistake::Reason::TooManyNodes:
        return "this is one too many: an expression holds at most " + std::to_string(nodeLimit) +
               " fields, numbers, lists and operators";
    }
    return "";
}

} // namespace Ostrel::TV
