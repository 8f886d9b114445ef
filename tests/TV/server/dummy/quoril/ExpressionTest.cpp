#include "TV/server/dummy/quoril/Expression.h"

#include "TV/server/dummy/world/epgentry.h"
#include "tests/TV/server/dummy/quoril/ExpressionRows.h"
#include "tests/TV/server/dummy/quoril/RandomTree.h"

#include <gtest/gtest.h>

#include <array>
#include <string>

using namespace Ostrel::TV;
using Value = Expression::Value;

namespace {

epgentry makeRow(int serviceId, int start, int end) {
    epgentry row{};
    row.ServiceId = serviceId;
    row.Start = start;
    row.End = end;
    return row;
}

std::string describe(const Value& value) {
    switch (value.type()) {
    case Value::Integer:
        return std::to_string(value.integer());
    case Value::Boolean:
        return value.boolean() ? "true" : "false";
    case Value::Name:
        return value.string();
    case Value::Invalid:
        break;
    }
    return "invalid";
}

/// What an expression says of the row 1000, 100, 200; "refused" when it does not parse.
std::string evaluate(const std::string& text) {
    Expression expression;
    const epgentry row = makeRow(1000, 100, 200);
    return expression.parse(text) ? describe(expression.evaluate(&row)) : "refused";
}

class ExpressionTable : public testing::TestWithParam<ExpressionRow> {};

} // namespace

TEST_P(ExpressionTable, SaysThisOfTheRow) {
    EXPECT_EQ(evaluate(GetParam().text), GetParam().result);
}

INSTANTIATE_TEST_SUITE_P(Texts, ExpressionTable, testing::ValuesIn(expressionRows),
                         [](const auto& row) { return row.param.name; });

namespace {

/// "ServiceId in (1, 2, ..., count)".
std::string inList(unsigned count) {
    std::string text = "ServiceId in (1";
    for (unsigned i = 2; i <= count; ++i)
        text += ", " + std::to_string(i);
    return text + ")";
}

std::string repeat(unsigned count, const std::string& part, const std::string& separator) {
    std::string text = part;
    for (unsigned i = 1; i < count; ++i)
        text += separator + part;
    return text;
}

bool parses(const std::string& text) {
    return Expression().parse(text);
}

std::string nested(unsigned depth, const std::string& inside = "1 == 1") {
    return std::string(depth, '(') + inside + std::string(depth, ')');
}

} // namespace

TEST(ExpressionTest, TwentyNodesAreEnough) {
    EXPECT_TRUE(parses(inList(17))); // the field, the list, the numbers and the operator
    EXPECT_TRUE(parses(repeat(5, "1 == 1", " && "))); // 19 nodes
    EXPECT_TRUE(parses("1 in (1) && " + repeat(4, "1 == 1", " && "))); // 20 nodes
}

TEST(ExpressionTest, TwentyOneNodesDoNotParse) {
    EXPECT_FALSE(parses(inList(18)));
    EXPECT_FALSE(parses("1 in (1, 2) && " + repeat(4, "1 == 1", " && "))); // 21 nodes
    EXPECT_FALSE(parses(repeat(6, "1 == 1", " && "))); // 23 nodes
    EXPECT_FALSE(parses(repeat(6, "1 == 1", " || ")));
    EXPECT_FALSE(parses(inList(100000)));
}

TEST(ExpressionTest, Opens256Parentheses) {
    EXPECT_TRUE(parses(nested(256)));
    EXPECT_TRUE(parses(nested(256) + " && " + nested(256)));
    EXPECT_TRUE(parses(nested(255, "1 in (1, 2)") + " && " + nested(255, "1 in (1)")));
}

TEST(ExpressionTest, RefusesMoreOpenParentheses) {
    EXPECT_FALSE(parses(nested(257)));
    EXPECT_FALSE(parses(nested(256, "1 in (1)"))); // a list's parenthesis counts
    EXPECT_FALSE(parses(nested(100000)));
    EXPECT_FALSE(parses(std::string(1000000, '(')));
}

TEST(ExpressionTest, ParsesAgain) {
    Expression expression;
    const epgentry row = makeRow(1002, 100, 200);
    ASSERT_TRUE(expression.parse("ServiceId in (1000, 1001, 1002)"));
    EXPECT_EQ(describe(expression.evaluate(&row)), "true");
    ASSERT_TRUE(expression.parse("ServiceId in (1000, 1001)"));
    EXPECT_EQ(describe(expression.evaluate(&row)), "false");
    // Where the list was there is a number now, and the other way about.
    ASSERT_TRUE(expression.parse("1002 == ServiceId && ServiceId in (1002, 5)"));
    EXPECT_EQ(describe(expression.evaluate(&row)), "true");
    ASSERT_TRUE(expression.parse("Start in (7) || ServiceId in (8)"));
    EXPECT_EQ(describe(expression.evaluate(&row)), "false");
    EXPECT_FALSE(expression.parse("Title =="));
    ASSERT_TRUE(expression.parse("Title == 1"));
    EXPECT_EQ(describe(expression.evaluate(&row)), "invalid");
    ASSERT_TRUE(expression.parse(""));
    EXPECT_EQ(describe(expression.evaluate(&row)), "true");
}

TEST(ExpressionTest, EmptyDoesNotLookAtTheRow) {
    Expression expression;
    EXPECT_EQ(describe(expression.evaluate(nullptr)), "true");
    ASSERT_TRUE(expression.parse(" "));
    EXPECT_EQ(describe(expression.evaluate(nullptr)), "true");
}

TEST(ExpressionTest, FieldsAreWidenedByTheirSign) {
    Expression expression;
    const epgentry row = makeRow(-1, -2, -3);
    ASSERT_TRUE(expression.parse("ServiceId == 4294967295 && Start == -2 && End == -3"));
    EXPECT_EQ(describe(expression.evaluate(&row)), "true");
}

TEST(ExpressionTest, TheFilterIsOfTheLatestText) {
    Expression expression;
    const Filter::Row row{1000, 100, 200};
    ASSERT_TRUE(expression.parse("ServiceId == 1001"));
    ASSERT_NE(expression.filter(), nullptr);
    EXPECT_FALSE(expression.filter()->accepts(row));
    ASSERT_TRUE(expression.parse("Title == 1"));
    EXPECT_EQ(expression.filter(), nullptr);
    ASSERT_TRUE(expression.parse(""));
    ASSERT_NE(expression.filter(), nullptr);
    EXPECT_TRUE(expression.filter()->accepts(row));
    EXPECT_EQ(expression.filter()->services(), nullptr);
}

TEST(FilterTest, KnowsTheServicesBeyondWhichNothingMatches) {
    const auto services = [](const std::string& text) {
        Expression expression;
        EXPECT_TRUE(expression.parse(text));
        const auto* found = expression.filter()->services();
        return found ? *found : std::vector<std::int64_t>{-1};
    };
    using Services = std::vector<std::int64_t>;
    const Services any{-1};
    EXPECT_EQ(services("ServiceId == 5"), Services{5});
    EXPECT_EQ(services("5 == ServiceId && Start > 1"), Services{5});
    EXPECT_EQ(services("ServiceId in (5, 6)"), (Services{5, 6}));
    EXPECT_EQ(services("ServiceId in (5, 6) && ServiceId == 7"), Services{7});
    EXPECT_EQ(services("ServiceId in (5, 6) || ServiceId == 7"), (Services{5, 6, 7}));
    EXPECT_EQ(services("ServiceId == 5 || Start > 1"), any);
    EXPECT_EQ(services("ServiceId >= 5"), any);
    EXPECT_EQ(services("Start in (5, 6)"), any);
    EXPECT_EQ(services("5 == 5"), any);
}

TEST(ValueTest, HoldsWhatItWasMadeOf) {
    EXPECT_EQ(Value().type(), Value::Invalid);
    EXPECT_FALSE(Value().boolean());
    EXPECT_EQ(Value(true).type(), Value::Boolean);
    EXPECT_EQ(Value(true).integer(), 1);
    EXPECT_FALSE(Value(false).boolean());
    EXPECT_EQ(Value(7ll).type(), Value::Integer);
    EXPECT_EQ(Value(7ll).integer(), 7);
    EXPECT_TRUE(Value(7ll).boolean());
    const Value name(Value::Name, "Start");
    EXPECT_EQ(name.type(), 3);
    EXPECT_EQ(name.string(), "Start");
    EXPECT_EQ(name.integer(), 0);
}

TEST(ExpressionPropertyTest, RandomTreesMeanWhatAPlainEvaluatorSays) {
    Gardener gardener(20111011);
    unsigned parsed = 0, refused = 0, invalid = 0, truths = 0;
    for (unsigned round = 0; round != 3000; ++round) {
        const auto tree = gardener.grow(3);
        const std::string text = tree->print();
        Expression expression;
        ASSERT_EQ(expression.parse(text), tree->nodes() <= nodeLimit) << text;
        if (tree->nodes() > nodeLimit) {
            ++refused;
            continue;
        }
        ++parsed;
        for (unsigned i = 0; i != 20; ++i) {
            const epgentry row = gardener.row();
            long long truth = 0;
            const bool valid = tree->evaluate(row, truth);
            ASSERT_EQ(describe(expression.evaluate(&row)), !valid  ? "invalid"
                                                           : truth ? "true"
                                                                   : "false")
                << text << " of " << row.ServiceId << ", " << row.Start << ", " << row.End;
            invalid += !valid;
            truths += valid && truth;
        }

        // The same for many rows at once: any ones, and those of one service.
        for (const bool oneService : {false, true}) {
            std::array<epgentry, Filter::wordRows> word;
            std::array<std::int32_t, Filter::wordRows> serviceIds, starts, ends;
            for (std::size_t i = 0; i != word.size(); ++i) {
                word[i] = gardener.row();
                if (oneService)
                    word[i].ServiceId = word[0].ServiceId;
                serviceIds[i] = word[i].ServiceId;
                starts[i] = word[i].Start;
                ends[i] = word[i].End;
            }
            const Filter* const filter = expression.filter();
            std::uint64_t found = 0;
            if (filter)
                filter->select({{serviceIds.data(), starts.data(), ends.data()}, oneService}, {&found, 1});
            for (std::size_t i = 0; i != word.size(); ++i) {
                long long truth = 0;
                const bool valid = tree->evaluate(word[i], truth);
                ASSERT_EQ(found >> i & 1, valid && truth) << text << " at " << i;
            }
        }
    }
    EXPECT_GT(parsed, 1500u);
    EXPECT_GT(refused, 100u);
    EXPECT_GT(invalid, 500u);
    EXPECT_GT(truths, 5000u);
}
