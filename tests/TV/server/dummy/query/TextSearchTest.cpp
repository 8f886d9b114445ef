#include "TV/server/dummy/query/TextSearch.h"

#include "tests/TV/server/dummy/GuideFixture.h"

#include <string>

using namespace Ostrel::TV;

namespace {

bool holds(const char* text, const std::string& wanted) {
    return text && std::string(text).find(wanted) != std::string::npos;
}

} // namespace

using TextSearchTest = GuideFixture;

TEST_F(TextSearchTest, FindsTheSameBeforeAndAfterItsPatienceEnds) {
    for (const std::string& wanted : {std::string("News"), std::string("e"), std::string("the"),
                                      std::string("no such text"), std::string("\xC3\xA9"), std::string("."),
                                      std::string(" of the "), std::string(), std::string("a\0b", 3)}) {
        TextSearch titles(index(), wanted, false, 0), both(index(), wanted, true, 500);
        for (unsigned round = 0; round != 2; ++round) {
            for (std::uint32_t position = 0; position != index().size(); ++position) {
                const epgentry& row = *index()[position];
                ASSERT_EQ(titles.occursAt(position), holds(row.Title, wanted)) << wanted;
                ASSERT_EQ(both.occursAt(position), holds(row.Title, wanted) || holds(row.Description, wanted))
                    << wanted;
            }
        }
    }
}

TEST_F(TextSearchTest, NothingOccursInAnAbsentText) {
    const auto without = rowsWith([](const epgentry& row) { return row.Description == nullptr; });
    ASSERT_FALSE(without.empty());
    const std::string title = static_cast<const char*>(without[0]->Title);
    const std::string unlike = title + "!";
    TextSearch search(index(), unlike, true, 0);
    for (std::uint32_t position = 0; position != index().size(); ++position)
        if (index()[position] == without[0]) {
            EXPECT_FALSE(search.occursAt(position));
        }
}
