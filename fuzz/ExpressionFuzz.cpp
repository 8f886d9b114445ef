// Any text: it parses and all ways of asking agree, or it does not and has a mistake.

#include "TV/server/dummy/guide/Guide.h"
#include "TV/server/dummy/query/QuorilQuery.h"
#include "TV/server/dummy/quoril/Expression.h"

#include <cstdlib>
#include <string>

using namespace Ostrel::TV;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static const Guide guide = [] {
        Guide filled;
        filled.addEvents();
        return filled;
    }();
    const std::string text(reinterpret_cast<const char*>(data), size);

    Tokenizer tokenizer(text);
    for (auto type = tokenizer.next().type();
         type != Tokenizer::Token::End && type != Tokenizer::Token::Error;)
        type = tokenizer.next().type();

    static Expression reused; // an expression may be parsed again
    Expression expression;
    const bool parsed = expression.parse(text);
    if (reused.parse(text) != parsed)
        std::abort();
    const auto& mistake = expression.mistake();
    if (mistake.has_value() == parsed || (mistake && mistake->position > size))
        std::abort();
    if (mistake && explain(*mistake, text).empty())
        std::abort();
    if (!parsed)
        return 0;
    QuorilQuery query(guide);
    if (!query.init(text, 0, 4294967295u))
        std::abort();
    for (std::uint32_t position = 0; position < guide.index().size(); position += 97) {
        const auto value = expression.evaluate(guide.index()[position]);
        if (value.type() != reused.evaluate(guide.index()[position]).type())
            std::abort();
        const bool matches = value.type() == Expression::Value::Boolean && value.boolean();
        if (matches != query.matches(position))
            std::abort();
    }
    return 0;
}
