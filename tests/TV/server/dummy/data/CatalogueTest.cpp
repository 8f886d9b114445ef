// What a catalogue may not say, and what the schedule tells of one that is in order.

#include "TV/server/dummy/data/Catalogue.h"
#include "TV/server/dummy/data/Schedule.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include <unistd.h>

using namespace Ostrel::TV;

namespace {

class CatalogueTest : public testing::Test {
protected:
    CatalogueTest() { std::filesystem::create_directories(directory_); }
    ~CatalogueTest() override { std::filesystem::remove_all(directory_); }

    void write(const std::string& text) const { std::ofstream(path()) << text; }

    std::string path() const { return directory_ + "/lamp.txt"; }

    /// What stops the reading; nothing when the catalogue is in order.
    std::string fault() const {
        try {
            readCatalogue(path());
        } catch (const TextFileError& error) {
            return error.what();
        }
        return {};
    }

    std::vector<std::string> remarks() const {
        Service service;
        service.slug = "lamp";
        return Schedule({service}, directory_, false).remarks("lamp");
    }

private:
    const std::string directory_ =
        (std::filesystem::temp_directory_path() / ("catalogue-" + std::to_string(::getpid()))).string();
};

TEST_F(CatalogueTest, RefusesAPoolWithoutASlot) {
    write("[all]\n06:00 day\n= A\nseries | day, nihgt | 0x10 |\n- One.\n");
    EXPECT_EQ(fault(), path() + ":4: no slot has pool nihgt");
}

TEST_F(CatalogueTest, RefusesASlotsPoolWithoutAProgramme) {
    write("[all]\n06:00 day\n18:00 nihgt\n= A\nseries | day | 0x10 |\n- One.\n");
    EXPECT_EQ(fault(), path() + ":3: no programme has pool nihgt");
}

TEST_F(CatalogueTest, TellsWhichPoolsBeginAgain) {
    // From ten on the first evening to one on the last night: eight times six o'clock.
    write("[all]\n06:00 day\n= A\nseries | day | 0x10 |\n- One.\n- Two.\n");
    EXPECT_EQ(remarks(),
              (std::vector<std::string>{path() + ":2: pool day begins again: 8 slots, episodes: 2"}));
}

TEST_F(CatalogueTest, TellsWhatIsNotOn) {
    write("[all]\n06:00 day\n= A\nseries | day | 0x10 |\n- 1.\n- 2.\n- 3.\n- 4.\n- 5.\n- 6.\n- 7.\n- 8.\n- "
          "9.\n");
    EXPECT_EQ(remarks(),
              (std::vector<std::string>{path() + ":13: not on: more episodes than slots in pool day"}));
}

} // namespace
