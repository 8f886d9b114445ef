#include "TV/server/dummy/query/TextSearch.h"

#include "TV/server/dummy/query/RowBits.h"
#include "tests/TV/server/dummy/AnyWorld.h"

#include <algorithm>
#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

using namespace Ostrel::TV;

namespace {

bool holds(const char* text, const std::string& wanted) {
    return text && std::string(text).find(wanted) != std::string::npos;
}

} // namespace

class TextSearchTest : public AnyWorld {
protected:
    static std::vector<std::uint64_t> allRows() {
        std::vector<std::uint64_t> rows(index().size() / rowBits + 1, 0);
        for (std::size_t position = 0; position != index().size(); ++position)
            rows[position / rowBits] |= std::uint64_t{1} << position % rowBits;
        return rows;
    }
};
OSTREL_TEST_ANY_WORLD(TextSearchTest);

TEST_P(TextSearchTest, FindsTheSameInOneTextAndInAllAtOnce) {
    for (const std::string& wanted :
         {std::string("News"), std::string("e"), std::string("the"), std::string("no such text"),
          std::string("lighthouse keeper"), std::string("\xC3\xA9"), std::string("."),
          std::string(" of the "), std::string()}) {
        const TextSearch search(wanted);
        FoundTexts found(index());
        search.find(found);
        for (const bool inDescriptions : {false, true}) {
            std::vector<std::uint64_t> rows = allRows();
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

// Places are looked at 64 at once, and the last ones by themselves.
TEST_P(TextSearchTest, FindsATextByItsBeginningAndByItsEnd) {
    const auto* const descriptions = index().descriptions();
    const auto last = std::max_element(descriptions, descriptions + index().size()) - descriptions;
    for (const std::size_t position :
         {std::size_t{1}, index().size() / 3, index().size() / 2, static_cast<std::size_t>(last)}) {
        const char* const description = index()[position]->Description;
        const std::string_view text = description ? description : "";
        for (std::size_t size = 1; size <= text.size(); ++size) {
            for (const std::size_t from : {std::size_t{0}, text.size() - size}) {
                FoundTexts found(index());
                TextSearch(text.substr(from, size)).find(found);
                std::vector<std::uint64_t> rows = allRows();
                found.narrow(rows, 0, true);
                ASSERT_TRUE(rows[position / rowBits] >> position % rowBits & 1) << text.substr(from, size);
            }
        }
    }
}

TEST_P(TextSearchTest, KeepsTheRowsOfFewTextsAndOfMany) {
    for (const std::size_t count : {0, 1, 15, 16, 17, 100}) {
        std::set<std::uint32_t> offsets;
        for (std::size_t i = 0; i != count; ++i)
            offsets.insert(
                (i % 2 == 0 ? index().titles() : index().descriptions())[i * index().size() / count]);
        offsets.erase(0);
        FoundTexts found(index());
        for (const std::uint32_t offset : offsets)
            found.add(offset);
        for (const bool inDescriptions : {false, true}) {
            std::vector<std::uint64_t> rows = allRows();
            rows[1] &= 0x5555555555555555u;
            found.narrow(rows, 0, inDescriptions);
            for (std::size_t position = 0; position != index().size(); ++position) {
                const bool isThere = position / rowBits != 1 || position % 2 == 0;
                const bool isFound = offsets.contains(index().titles()[position]) ||
                                     (inDescriptions && offsets.contains(index().descriptions()[position]));
                ASSERT_EQ(rows[position / rowBits] >> position % rowBits & 1, isThere && isFound)
                    << count << " at " << position;
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
