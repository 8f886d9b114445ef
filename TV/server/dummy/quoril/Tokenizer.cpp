#include "TV/server/dummy/quoril/Tokenizer.h"

#include <cstdint>

namespace Ostrel::TV {

namespace {

bool isDigit(char c) {
    return c >= '0' && c <= '9';
}

bool startsIdentifier(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}

} // namespace

Tokenizer::Tokenizer(const std::string& text) : text_(text), at_(text_.begin()) {}

Tokenizer::Token Tokenizer::next() {
    skipBlanks();
    position_ = static_cast<std::size_t>(at_ - text_.begin());
    if (atEnd())
        return Token(failed_ ? Token::Error : Token::End, 0);

    const char c = *at_;
    if (startsIdentifier(c))
        return identifier();
    if (isDigit(c) || c == '-')
        return integer();
    const auto orEqual = [&](Token::Type without, Token::Type with) {
        ++at_;
        if (atEnd() || *at_ != '=')
            return Token(without, 0);
        ++at_;
        return Token(with, 0);
    };
    switch (c) {
    case '"':
        return string();
    case '(':
        return ++at_, Token(Token::LeftParen, 0);
    case ')':
        return ++at_, Token(Token::RightParen, 0);
    case ',':
        return ++at_, Token(Token::Comma, 0);
    case '=':
        return doubled(c, Token::Equal);
    case '|':
        return doubled(c, Token::Or);
    case '&':
        return doubled(c, Token::And);
    case '<':
        return orEqual(Token::LessThan, Token::LessOrEqual);
    case '>':
        return orEqual(Token::GreaterThan, Token::GreaterOrEqual);
    default:
        return fail();
    }
}

// Of all white space only the blank is skipped: a tab or a line break is an error.
void Tokenizer::skipBlanks() {
    while (!atEnd() && *at_ == ' ')
        ++at_;
}

Tokenizer::Token Tokenizer::fail() {
    failed_ = true;
    return Token(Token::Error, 0);
}

Tokenizer::Token Tokenizer::identifier() {
    const auto start = at_;
    while (!atEnd() && (startsIdentifier(*at_) || isDigit(*at_)))
        ++at_;
    std::string text(start, at_);
    return text == "in" ? Token(Token::In, 0) : Token(Token::Identifier, text);
}

// The character that follows is gone too when it is the wrong one.
// Meant so: docs/oddities.md, "A lone sign eats its neighbour".
Tokenizer::Token Tokenizer::doubled(char character, int type) {
    ++at_;
    if (atEnd() || *at_++ != character)
        return fail();
    return Token(static_cast<Token::Type>(type), 0);
}

Tokenizer::Token Tokenizer::integer() {
    const bool negative = *at_ == '-';
    if (negative) {
        ++at_;
        // The digit after the sign is 0 to 8: "-9" and "-95" are errors, "-89" is not.
        // Meant so: docs/oddities.md, "Minus nine".
        if (atEnd() || *at_ < '0' || *at_ > '8')
            return fail();
    }
    // Numbers past 64 bits wrap, which only unsigned ones may do.
    // Meant so: docs/oddities.md, "Digits that wrap".
    std::uint64_t value = 0;
    for (; !atEnd() && isDigit(*at_); ++at_)
        value = value * 10 + static_cast<unsigned>(*at_ - '0');
    return Token(Token::Integer, static_cast<long long>(negative ? 0 - value : value));
}

Tokenizer::Token Tokenizer::string() {
    std::string text;
    for (++at_; !atEnd() && *at_ != '"'; ++at_) {
        if (*at_ == '\\') {
            ++at_;
            if (atEnd())
                break;
            // A backslash counts as an escape before a quotation mark alone.
            // Meant so: docs/oddities.md, "One escape".
            if (*at_ != '"')
                text += '\\';
        }
        text += *at_;
    }
    if (atEnd())
        return fail();
    ++at_;
    return Token(Token::String, text);
}

} // namespace Ostrel::TV
