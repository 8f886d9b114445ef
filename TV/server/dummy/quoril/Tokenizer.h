#pragma once

#include <cstddef>
#include <string>

namespace Ostrel::TV {

/// Reads a guide filter one token at a time.
///
/// The caller's text is copied and may go away. Nothing that is read makes it throw:
/// where no token can start, next() answers Error, and from then on the end of the
/// text is an Error too. Callers stop at the first one.
///
/// One parse, one thread: not for sharing.
class Tokenizer {
public:
    class Token;

    explicit Tokenizer(const std::string& text);

    Tokenizer(const Tokenizer&) = delete;
    Tokenizer& operator=(const Tokenizer&) = delete;

    /// Reads on by one token. Behind the text there is End, however often it is asked.
    Token next();

    /// Where the latest token begins, in bytes from the start of the text.
    std::size_t position() const { return position_; }

private:
    bool atEnd() const { return at_ == text_.end(); }
    void skipBlanks();
    Token fail();
    Token identifier();
    Token integer();
    Token string();
    /// A character that is a token only when it stands there twice.
    Token doubled(char character, int type);

    const std::string text_;
    std::string::const_iterator at_;
    std::size_t position_ = 0;
    bool failed_ = false; ///< once true, the end of the text is an Error
};

/// One token: what it is, and the text or the number that it carries.
class Tokenizer::Token {
public:
    enum Type {
        Error = 1,
        End = 2,
        Integer = 3, ///< decimal digits, a "-" in front of them or not
        String = 4, ///< what stands in quotation marks
        Identifier = 5, ///< letters, "_" and digits, but no digit in front
        LessThan = 7,
        LessOrEqual = 8,
        GreaterThan = 9,
        GreaterOrEqual = 10,
        Equal = 11,
        And = 12,
        Or = 13,
        LeftParen = 14,
        RightParen = 15,
        Comma = 16,
        In = 17, ///< the word "in"
    };

    /// No token: a type that none has, no text, 0.
    Token() = default;
    Token(Type type, std::string& string) : type_(type), string_(string) {}
    Token(Type type, long long integer) : type_(type), integer_(integer) {}

    Type type() const { return type_; }
    /// Of a String or an Identifier; empty for every other token.
    const std::string& string() const { return string_; }
    /// Of an Integer; 0 for every other token.
    long long integer() const { return integer_; }

private:
    Type type_ = static_cast<Type>(0);
    std::string string_;
    long long integer_ = 0;
};

} // namespace Ostrel::TV
