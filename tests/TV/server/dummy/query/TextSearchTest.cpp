#include "TV/server/dummy/query/TextSearch.h"

#include "TV/server/dummy/query/RowBits.h"
#include "tests/TV/server/dummy/GuideFixture.h"

#include <string>
#include <vector>

using namespace Ostrel::TV;

namespace {

bool holds(const char* text, const std::string& wanted) {
    return text && std::string(text).find(wanted) != std::string::npos;
}

class TextSearchTest : public GuideFixture {
protected:
    /// A bit for each row below the limit.
    static std::vector<std::uint64_t> rowsBelow(std::size_t limit) {
        std::vector<std::uint64_t> rows(index().size() / rowBits + 1, 0);
        for (std::size_t position = 0; position != limit; ++position)
            rows[position / rowBits] |= std::uint64_t{1} << position % rowBits;
        return rows;
    }
};

} // namespace

TEST_F(TextSearchTest, FindsTheSameInRowsOneByOneAndInManyAtOnce) {
    for (const std::string& wanted :
         {std::string("News"), std::string("e"), std::string("the"), std::string("no such text"),
          std::string("\xC3\xA9"), std::string("."), std::string(" of the "), std::string()}) {
        for (const bool inDescriptions : {false, true}) {
            const TextSearch search(index(), wanted, inDescriptions);
            for (const std::size_t limit : {std::size_t{100}, index().size()}) {
                auto rows = rowsBelow(limit);
                search.narrow(rows);
                for (std::uint32_t position = 0; position != index().size(); ++position) {
                    const epgentry& row = *index()[position];
                    const bool found =
                        holds(row.Title, wanted) || (inDescriptions && holds(row.Description, wanted));
                    ASSERT_EQ(search.occursAt(position), found) << wanted;
                    ASSERT_EQ(rows[position / rowBits] >> position % rowBits & 1, found && position < limit)
                        << wanted << " at " << position;
                }
            }
        }
    }
}

TEST_F(TextSearchTest, NothingOccursInAnAbsentText) {
    const auto without = rowsWith([](const epgentry& row) { return row.Description == nullptr; });
    ASSERT_FALSE(without.empty());
    const std::string title = static_cast<const char*>(without[0]->Title);
    const TextSearch search(index(), title + "!", true);
    auto rows = rowsBelow(index().size());
    search.narrow(rows);
    for (std::uint32_t position = 0; position != index().size(); ++position)
        if (index()[position] == without[0]) {
            EXPECT_FALSE(search.occursAt(position));
            EXPECT_FALSE(rows[position / rowBits] >> position % rowBits & 1);
        }
}
