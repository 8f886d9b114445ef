#include "TV/server/dummy/query/EventQuery.h"
#include "TV/server/dummy/world/ChosenWorld.h"
#include "tests/TV/server/dummy/GuideFixture.h"

#include <algorithm>
#include <ctime>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace Ostrel;
using namespace Ostrel::TV;

namespace {

/// Seconds of processor time that the calling thread has taken.
double threadTime() {
    std::timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

using Texts = std::vector<std::string>;

std::string listOf(const Texts& texts) {
    std::string list;
    for (const std::string& text : texts)
        list += (list.empty() ? "\"" : ",\"") + text + "\"";
    return list;
}

std::string anyOf(const Texts& texts) {
    return R"({"stringMatchDescription":true,"stringList":[)" + listOf(texts) + "]}";
}

std::string allOf(const Texts& texts) {
    return R"({"stringAnd":true,"stringMatchDescription":true,"stringList":[)" + listOf(texts) + "]}";
}

std::string times(std::size_t count, const std::string& element) {
    std::string list = element;
    list.reserve(count * (element.size() + 1));
    for (std::size_t i = 1; i != count; ++i)
        list += "," + element;
    return list;
}

/// The most frequent pieces of that size of the guide's texts, as its first ones tell.
Texts frequentPieces(std::string_view guide, std::size_t size, std::size_t count) {
    guide = guide.substr(0, 100000);
    std::map<std::string_view, unsigned> pieces;
    for (std::size_t i = 0; i + size <= guide.size(); ++i) {
        const auto piece = guide.substr(i, size);
        if (std::all_of(piece.begin(), piece.end(), [](char c) { return c >= ' ' && c <= '~' && c != '"'; }))
            ++pieces[piece];
    }
    std::vector<std::pair<unsigned, std::string>> sorted;
    for (const auto& [piece, often] : pieces)
        sorted.emplace_back(often, piece);
    std::sort(sorted.rbegin(), sorted.rend());
    Texts texts;
    for (std::size_t i = 0; i != std::min(count, sorted.size()); ++i)
        texts.push_back(sorted[i].second);
    return texts;
}

/// Pairs of letters that no text of the guide holds.
Texts strangePairs(std::string_view guide, std::size_t count) {
    Texts texts;
    for (char a = 'z'; a >= '#'; --a)
        for (char b = '#'; b <= 'Z' && texts.size() != count; ++b)
            if (guide.find(std::string{a, b}) == guide.npos)
                texts.push_back({a, b});
    return texts;
}

Texts withEnd(Texts texts, const char* end) {
    for (std::string& text : texts)
        text += end;
    return texts;
}

Texts longTexts() {
    Texts texts;
    for (unsigned i = 0; i != 256; ++i) {
        texts.push_back({});
        while (texts.back().size() < 4000)
            texts.back() += "the " + std::to_string(i) + " ";
    }
    return texts;
}

} // namespace

/// What one request can ask for costs no more than a few plain ones of its kind.
class QueryCostTest : public GuideFixture {
protected:
    static std::string_view texts() { return index().texts(); }

    /// The shortest of several runs, in seconds of processor time.
    static double cost(const std::string& text) {
        const auto query = makeQuery(text);
        double least = 1e9;
        for (unsigned round = 0; round != 5; ++round) {
            VectorObject<ITVGuide::EventInfo> events;
            const double start = threadTime();
            EventQuery(guide(), query).run(events);
            least = std::min(least, threadTime() - start);
        }
        return least;
    }

    static void expectCost(const std::string& dear, const std::string& plain, double most) {
        const double ratio = cost(dear) / cost(plain);
        RecordProperty("ratio", std::to_string(ratio));
        EXPECT_LT(ratio, most) << dear.substr(0, 200);
    }
};

TEST_F(QueryCostTest, AsManyGenresAsAMessageHolds) {
    expectCost(R"({"genreList":[)" + times(340000, "9") + "]}", R"({"genreList":[9]})", 300);
}

TEST_F(QueryCostTest, AsManyServicesAsAMessageHolds) {
    expectCost(R"({"serviceIdList":[)" + times(300000, "1") + "]}",
               R"({"serviceIdList":[)" + times(18, "1") + "]}", 20);
}

TEST_F(QueryCostTest, OneTextOverAndOver) {
    expectCost(anyOf(Texts(256, "qX")), anyOf({"qX"}), 10);
    expectCost(allOf(Texts(256, "th")), allOf({"th"}), 10);
}

TEST_F(QueryCostTest, TextsLongerThanAnyOfTheGuide) {
    expectCost(anyOf(longTexts()), anyOf({"qX"}), 0.5);
    expectCost(allOf(longTexts()), allOf({"qX"}), 0.5);
}

TEST_F(QueryCostTest, ManyTextsThatAreFoundNowhere) {
    const auto strange = strangePairs(texts(), 256);
    ASSERT_EQ(strange.size(), 256u);
    expectCost(anyOf(strange), anyOf({strange.begin(), strange.begin() + 5}), 10);
}

TEST_F(QueryCostTest, ManyTextsThatBeginLikeTheOnesOfTheGuide) {
    for (const std::size_t size : {2u, 4u, 8u}) {
        const auto starts = withEnd(frequentPieces(texts(), size, 256), "#");
        ASSERT_EQ(starts.size(), 256u);
        expectCost(anyOf(starts), anyOf({starts.end() - 5, starts.end()}), 20);
    }
}

TEST_F(QueryCostTest, ManyTextsWithOneStart) {
    Texts same;
    for (unsigned i = 0; i != 256; ++i)
        same.push_back("the " + std::to_string(1000 + i));
    expectCost(anyOf(same), anyOf({same.begin(), same.begin() + 5}), 10);
}

TEST_F(QueryCostTest, AllPiecesOfOneText) {
    std::string longest;
    for (const epgentry& row : guideRows())
        if (row.Description && std::string_view(row.Description).size() > longest.size())
            longest = row.Description;
    // No piece ends within a character, or needs a backslash in the query's text.
    const auto isPlain = [](char c) { return static_cast<unsigned char>(c) < 0x80 && c != '"'; };
    std::set<std::string> pieces;
    for (std::size_t size = 1; pieces.size() < 256; ++size)
        for (std::size_t i = 0; i + size <= longest.size() && pieces.size() < 256; ++i)
            if (const auto piece = longest.substr(i, size); std::all_of(piece.begin(), piece.end(), isPlain))
                pieces.insert(piece);
    const Texts all(pieces.begin(), pieces.end());
    expectCost(allOf(all), allOf({all.begin(), all.begin() + 5}), 10);
}
