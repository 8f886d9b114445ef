// Any text: it parses or it does not, and where it does all ways of asking agree.

#include "TV/server/dummy/guide/StartTimeIndex.h"
#include "TV/server/dummy/query/QuorilQuery.h"
#include "TV/server/dummy/quoril/Expression.h"

#include <cstdlib>
#include <string>

using namespace Ostrel::TV;

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    static const bool ready = (startTimeIndex.addGuide(), true);
    (void)ready;
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
    if (!parsed)
        return 0;
    QuorilQuery query;
    if (!query.init(text, 0, 4294967295u))
        std::abort();
    for (std::uint32_t position = 0; position < startTimeIndex.size(); position += 97) {
        const auto value = expression.evaluate(startTimeIndex[position]);
        if (value.type() != reused.evaluate(startTimeIndex[position]).type())
            std::abort();
        const bool matches = value.type() == Expression::Value::Boolean && value.boolean();
        if (matches != query.matches(position))
            std::abort();
    }
    return 0;
}
