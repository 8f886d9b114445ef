#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace Ostrel::Fuzz {

/// The words of the query language, read as slowly and plainly as they can be: what the tokenizer is held to.
class PlainTokens {
public:
    struct Token {
        std::string kind; ///< a sign stands for itself; else "integer", "text", "name", "end" or "error"
        std::string text; ///< of a text or a name
        std::int64_t number = 0; ///< of an integer
        std::size_t position = 0; ///< of its first byte
    };

    explicit PlainTokens(std::string text) : text_(std::move(text)), rest_(text_) {}

    PlainTokens(const PlainTokens&) = delete;
    PlainTokens& operator=(const PlainTokens&) = delete;

    Token next() {
        while (starts(" "))
            eat(1);
        const std::size_t position = text_.size() - rest_.size();
        Token token = read();
        token.position = position;
        mistaken_ = mistaken_ || token.kind == "error";
        return token;
    }

private:
    static constexpr const char* digits = "0123456789";
    static constexpr const char* letters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ_";

    static Token make(std::string kind) { return {std::move(kind), {}, 0, 0}; }

    bool starts(const char* text) const { return rest_.rfind(text, 0) == 0; }
    bool startsWithOneOf(std::string_view bytes) const {
        return !rest_.empty() && bytes.find(rest_[0]) != std::string_view::npos;
    }
    std::string eat(std::size_t count) {
        const std::string eaten(rest_.substr(0, count));
        rest_.remove_prefix(eaten.size());
        return eaten;
    }

    Token read() {
        if (rest_.empty())
            return make(mistaken_ ? "error" : "end");
        for (const char* sign : {"==", "||", "&&", "<=", ">=", "<", ">", "(", ")", ","})
            if (starts(sign))
                return make(eat(std::string(sign).size()));
        // Alone, these take along whatever stands behind them.
        if (startsWithOneOf("=|&")) {
            eat(2);
            return make("error");
        }
        if (startsWithOneOf(letters)) {
            const std::string word =
                eat(std::min(rest_.find_first_not_of(std::string(letters) + digits), rest_.size()));
            return word == "in" ? make("in") : Token{"name", word, 0, 0};
        }
        if (starts("\""))
            return readText();
        if (starts("-")) {
            eat(1);
            return startsWithOneOf("012345678") ? Token{"integer", {}, readNumber(-1), 0} : make("error");
        }
        return startsWithOneOf(digits) ? Token{"integer", {}, readNumber(1), 0} : make("error");
    }

    std::int64_t readNumber(int sign) {
        std::uint64_t number = 0; // wraps
        while (startsWithOneOf(digits))
            number = number * 10 + static_cast<std::uint64_t>(eat(1)[0] - '0');
        return static_cast<std::int64_t>(sign < 0 ? 0 - number : number);
    }

    Token readText() {
        eat(1);
        std::string text;
        while (!rest_.empty() && !starts("\""))
            text += starts("\\\"") ? eat(2).substr(1) : eat(starts("\\") ? 2 : 1);
        return eat(1) == "\"" ? Token{"text", text, 0, 0} : make("error");
    }

    const std::string text_;
    std::string_view rest_;
    bool mistaken_ = false;
};

} // namespace Ostrel::Fuzz
