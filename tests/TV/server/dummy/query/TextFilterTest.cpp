#include "TV/server/dummy/query/TextFilter.h"
#include "TV/server/dummy/world/ChosenWorld.h"

#include "TV/server/dummy/query/RowBits.h"
#include "tests/TV/server/dummy/AnyWorld.h"

#include <cstring>
#include <string>
#include <vector>

using namespace Ostrel::TV;

namespace {

class TextFilterTest : public AnyWorld {
protected:
    static std::vector<std::uint64_t> everyRow() {
        std::vector<std::uint64_t> rows(index().size() / rowBits + 1, 0);
        for (std::size_t position = 0; position != index().size(); ++position)
            rows[position / rowBits] |= std::uint64_t{1} << position % rowBits;
        return rows;
    }

    /// How many rows pass, which must be the same one by one.
    static std::size_t count(const std::string& list, bool all, bool inDescriptions = true) {
        const auto query =
            makeQuery(R"({"stringList":[)" + list + R"(],"stringAnd":)" + (all ? "true" : "false") +
                      R"(,"stringMatchDescription":)" + (inDescriptions ? "true" : "false") + "}");
        const TextFilter filter(index(), query);
        auto rows = everyRow();
        filter.narrow(rows, 0);
        for (std::uint32_t position = 0; position != index().size(); ++position)
            EXPECT_EQ(rows[position / rowBits] >> position % rowBits & 1, filter.passes(position)) << list;
        return countRows(rows);
    }

    static std::size_t any(const std::string& list) { return count(list, false); }
    static std::size_t all(const std::string& list) { return count(list, true); }

    /// The element, over and over.
    static std::string times(unsigned count, const std::string& element) {
        std::string list = element;
        for (unsigned i = 1; i != count; ++i)
            list += "," + element;
        return list;
    }

    const std::size_t every = guideRows().size();
};

OSTREL_TEST_ANY_WORLD(TextFilterTest);

} // namespace

TEST_P(TextFilterTest, EqualTextsAreOne) {
    const auto once = any(R"("the")");
    EXPECT_GT(once, 0u);
    EXPECT_LT(once, every);
    EXPECT_EQ(any(times(256, R"("the")")), once);
    EXPECT_EQ(all(times(256, R"("the")")), once);
}

TEST_P(TextFilterTest, TheEmptyTextIsInEveryRow) {
    for (const char* list : {R"("")", R"("","")", R"("","no such text")", R"("a","b","c","d","e","f","")"})
        EXPECT_EQ(any(list), every) << list;
    EXPECT_EQ(all(R"("")"), every);
    EXPECT_EQ(all(R"("","the","")"), all(R"("the")"));
    EXPECT_EQ(all(R"("a","b","c","d","e","","f")"), all(R"("a","b","c","d","e","f")"));
    EXPECT_EQ(all(R"("","no such text")"), 0u);
}

TEST_P(TextFilterTest, WithoutTextsEveryRowPasses) {
    EXPECT_EQ(any(""), every);
    EXPECT_EQ(all(""), every);
}

TEST_P(TextFilterTest, WhatNoTextCanHoldIsFoundNowhere) {
    const std::string longer = '"' + std::string(index().longestText() + 1, 'e') + '"';
    for (const std::string& impossible :
         {longer, std::string(R"("\u0000")"), std::string(R"("the\u0000")")}) {
        EXPECT_EQ(any(impossible), 0u);
        EXPECT_EQ(all(impossible), 0u);
        EXPECT_EQ(any(R"("the",)" + impossible), any(R"("the")"));
        EXPECT_EQ(all(R"("the",)" + impossible), 0u);
        EXPECT_EQ(all(R"("",)" + impossible), 0u);
    }
}

TEST_P(TextFilterTest, NothingOccursInAnAbsentText) {
    const auto without = rowsWith([](const epgentry& row) {
        return row.Description == nullptr && row.Title != nullptr &&
               std::strpbrk(row.Title, "\"\\") == nullptr;
    });
    ASSERT_FALSE(without.empty());
    const std::string title = static_cast<const char*>(without[0]->Title);
    EXPECT_EQ(all('"' + title + "!\""), 0u);
    EXPECT_EQ(any('"' + title + R"(!","#1","#2","#3","#4","#5")"), 0u);
}

TEST_P(TextFilterTest, TheLongestTextOfTheGuideIsFound) {
    std::string longest;
    for (const epgentry& row : guideRows())
        if (row.Description && std::string_view(row.Description).size() > longest.size())
            longest = row.Description;
    ASSERT_EQ(longest.size(), index().longestText());
    EXPECT_GT(count('"' + longest + '"', true), 0u);
    EXPECT_EQ(count('"' + longest + '"', true, false), 0u);
}

// Up to four texts are searched for one by one, more all at once: the border must not be seen.
TEST_P(TextFilterTest, MoreTextsFindMoreOrLess) {
    const char* const words[] = {"the", "News", "of", "Film", "an", "e", "Weather", "day", "in", "Sport"};
    std::string list;
    std::size_t before = 0, left = every;
    for (const char* word : words) {
        list += (list.empty() ? "\"" : ",\"") + std::string(word) + "\"";
        const auto either = any(list), both = all(list);
        EXPECT_GE(either, before) << list;
        EXPECT_LE(both, left) << list;
        before = either;
        left = both;
    }
    EXPECT_GT(before, any(R"("the")"));
}
