// The built-in world, loaded as anybody's is, makes the documents that the library's own makes. A
// program of its own, because a process chooses its world once.

#include "TV/server/dummy/data/WorldFolder.h"
#include "TV/server/dummy/documents/RowDocument.h"
#include "TV/server/dummy/query/EventQuery.h"
#include "TV/server/dummy/world/BuiltInWorld.h"
#include "TV/server/dummy/world/ChosenWorld.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Ostrel::TV;

namespace {

/// The documents of a row, in both formats and all modes, and its texts as events have them.
std::vector<std::string> documentsOf(const World& world, std::size_t index) {
    const epgentry& row = world.rows[index];
    std::vector<std::string> documents;
    for (const OutputFormat format : {OutputFormat::Json, OutputFormat::Xml})
        for (const unsigned mode : {OnAir, Following, Schedule})
            documents.push_back(formatEntry(format, &row, mode, world));
    for (const PoolText text : {row.Title, row.Description, row.Guidance})
        documents.emplace_back(text ? text : "absent");
    return documents;
}

TEST(LoadedWorldTest, MakesTheDocumentsOfTheBuiltInOne) {
    const World builtIn = builtInWorld();
    ASSERT_EQ(builtIn.rows.size(), 11658u);
    std::vector<std::vector<std::string>> expected;
    for (std::size_t i = 0; i != builtIn.rows.size(); ++i)
        expected.push_back(documentsOf(builtIn, i));

    for (const char* path : {OSTREL_BUILT_IN_WORLD, OSTREL_BUILT_IN_WORLD ".world"}) {
        const WorldFile file = openWorld(path);
        chooseWorld(file.world());
        EXPECT_EQ(PoolText::base, file.world().texts.data());
        ASSERT_EQ(guideRows().size(), expected.size()) << path;
        for (std::size_t i = 0; i != expected.size(); ++i)
            ASSERT_EQ(documentsOf(chosenWorld(), i), expected[i]) << path << " row " << i;
        chooseWorld(builtIn);
    }
}

} // namespace
