#include "TV/server/dummy/query/TextSearch.h"

#include "TV/server/dummy/query/RowBits.h"
#include "tests/TV/server/dummy/AnyWorld.h"

#include <string>
#include <vector>

using namespace Ostrel::TV;

namespace {

bool holds(const char* text, const std::string& wanted) {
    return text && std::string(text).find(wanted) != std::string::npos;
}

} // namespace

using TextSearchTest = AnyWorld;
OSTREL_TEST_ANY_WORLD(TextSearchTest);

TEST_P(TextSearchTest, FindsTheSameInOneTextAndInAllAtOnce) {
    for (const std::string& wanted :
         {std::string("News"), std::string("e"), std::string("the"), std::string("no such text"),
          std::string("\xC3\xA9"), std::string("."), std::string(" of the "), std::string()}) {
        const TextSearch search(wanted);
        FoundTexts found(index());
        search.find(found);
        for (const bool inDescriptions : {false, true}) {
            std::vector<std::uint64_t> rows(index().size() / rowBits + 1, 0);
            for (std::size_t position = 0; position != index().size(); ++position)
                rows[position / rowBits] |= std::uint64_t{1} << position % rowBits;
            found.narrow(rows, 0, inDescriptions);
            for (std::uint32_t position = 0; position != index().size(); ++position) {
                const epgentry& row = *index()[position];
                if (const char* const title = row.Title) {
                    ASSERT_EQ(search.occursIn(title), holds(title, wanted)) << wanted;
                }
                ASSERT_EQ(rows[position / rowBits] >> position % rowBits & 1,
                          holds(row.Title, wanted) || (inDescriptions && holds(row.Description, wanted)))
                    << wanted << " at " << position;
            }
        }
    }
}

TEST_P(TextSearchTest, NothingIsFoundInNoTexts) {
    const StartTimeIndex none;
    for (const char* wanted : {"", "a"}) {
        FoundTexts found(none);
        TextSearch(wanted).find(found);
        std::vector<std::uint64_t> rows;
        found.narrow(rows, 0, true);
    }
}
