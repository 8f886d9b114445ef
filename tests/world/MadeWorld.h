#pragma once

#include "TV/server/dummy/data/GuideText.h"
#include "TV/server/dummy/data/TemporaryFile.h"
#include "TV/server/dummy/data/WorldFile.h"
#include "TV/server/dummy/data/WorldRules.h"
#include "world/Importer.h"
#include "world/XmltvWriter.h"

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <utility>

namespace Ostrel::TV::Tool {

/// The world that an import makes of a listing, and what it counted.
class MadeWorld {
public:
    explicit MadeWorld(const std::string& xml, Importer::Options options = {.name = "test"}) {
        WorldWriter writer;
        const Categories categories;
        Importer importer(std::move(options), categories, writer);
        XmltvReader reader("guide.xml", importer.listener());
        reader.read(xml);
        reader.finish();
        importer.finish();
        report = importer.report();

        const TemporaryFile image = makeTemporaryFile();
        writer.write(image.get());
        file_.emplace(image.get());
        WorldProblems problems;
        checkWorld(world(), WorldPlaces::names(world()), problems);
        EXPECT_EQ(problems.text(), "");
    }

    World world() const { return file_->world(); }

    ImportReport report;

private:
    std::optional<WorldFile> file_;
};

inline std::string exported(const World& world) {
    std::string xml;
    writeXmltv(world, [&](std::string_view piece) { xml += piece; });
    return xml;
}

} // namespace Ostrel::TV::Tool
