#include "TV/server/dummy/quoril/Mistake.h"

#include "TV/server/dummy/quoril/Expression.h"

#include <gtest/gtest.h>

#include <iterator>
#include <random>
#include <string>

using namespace Ostrel::TV;
using Reason = Mistake::Reason;

namespace {

std::string randomText(std::mt19937& random) {
    const char* const words[] = {
        "End", "1",     "1",       "Start", "in", "(",     ")", "(1, 2)",        "==", "<", "&&",
        "||",  "1 < 2", "End > 3", ",",     "-9", "\"a\"", "=", "End in (1, 2)", "!",  "\t"};
    std::string text;
    for (auto count = random() % 9; count > 0; --count)
        text.append(words[random() % std::size(words)]).append(" ");
    return text;
}

} // namespace

TEST(MistakeTest, IsThereExactlyWhenATextDoesNotParse) {
    std::mt19937 random(20111016); // NOLINT(cert-msc32-c,cert-msc51-cpp): the same texts in each run
    Expression expression;
    unsigned good = 0;
    for (unsigned round = 0; round != 100000; ++round) {
        const auto text = randomText(random);
        const bool parsed = expression.parse(text);
        good += parsed;
        const auto mistake = expression.mistake();
        ASSERT_EQ(mistake.has_value(), !parsed) << text;
        if (!mistake)
            continue;
        ASSERT_LE(mistake->position, text.size()) << text;
        ASSERT_FALSE(explain(*mistake, text).empty()) << text;
        // What stands before it is the start of an expression.
        const auto before = text.substr(0, mistake->position);
        if (mistake->reason != Reason::TooManyNodes && !expression.parse(before)) {
            ASSERT_EQ(expression.mistake()->position, before.size()) << text;
        }
    }
    EXPECT_GT(good, 1000u);
}

TEST(MistakeTest, IsOfTheLatestText) {
    Expression expression;
    EXPECT_FALSE(expression.mistake());
    ASSERT_FALSE(expression.parse("End > 1 Start"));
    ASSERT_TRUE(expression.mistake());
    EXPECT_EQ(expression.mistake()->position, 8u);
    EXPECT_EQ(expression.mistake()->reason, Reason::EndExpected);
    ASSERT_TRUE(expression.parse("End > 1"));
    EXPECT_FALSE(expression.mistake());
    ASSERT_FALSE(expression.parse("End"));
    ASSERT_TRUE(expression.parse(""));
    EXPECT_FALSE(expression.mistake());
}

TEST(MistakeTest, ACharacterThatIsNotThereIsNone) {
    EXPECT_EQ(explain({7, Reason::NoToken}, "End = 1"), "the query language does not have this character");
}
