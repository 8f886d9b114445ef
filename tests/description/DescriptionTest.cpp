#include "TV/interfaces/Description.h"
#include "TV/server/TVRPCServer.h"

#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <set>
#include <string>

namespace Ostrel::TV {
namespace {

/// The server, for the names in its table.
class Table : public TVRPCServer {
public:
    Table() : TVRPCServer(nullptr) {}

    std::set<std::string> getNames() const {
        std::set<std::string> names;
        for (const auto& [interfaceName, group] : methods)
            for (const auto& [method, handler] : group)
                names.insert(interfaceName + "::" + method);
        return names;
    }
};

bool isNotification(const boost::json::object& method) {
    const auto* const tags = method.if_contains("tags");
    return tags && tags->at(0).at("$ref") == "#/components/tags/notification";
}

TEST(DescriptionTest, NamesWhatTheServerAnswersAndNothingElse) {
    std::set<std::string> names;
    const auto document = boost::json::parse(description());
    for (const auto& method : document.at("methods").as_array())
        if (!isNotification(method.as_object())) {
            EXPECT_TRUE(names.insert(method.at("name").as_string().c_str()).second) << method.at("name");
        }
    EXPECT_EQ(names, Table().getNames());
}

TEST(DescriptionTest, HasTheVersionOfTheProject) {
    EXPECT_EQ(boost::json::parse(description()).at("info").at("version"), OSTREL_VERSION);
}

TEST(DescriptionTest, IsTheFile) {
    std::ifstream file(OSTREL_DESCRIPTION);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    EXPECT_EQ(description(), text);
}

} // namespace
} // namespace Ostrel::TV
