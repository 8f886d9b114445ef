#include "TV/interfaces/Description.h"
#include "TV/server/TVRPCServer.h"
#include "simulator/Description.h"
#include "simulator/SimulatorServer.h"

#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <ostream>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Ostrel {
namespace {

/// A server, for the names in its table.
template <typename Server> class Table : public Server {
public:
    using Server::Server;

    std::set<std::string> getNames() const {
        std::set<std::string> names;
        for (const auto& [interfaceName, group] : this->methods)
            for (const auto& [method, handler] : group)
                names.insert(interfaceName + "::" + method);
        return names;
    }
};

/// A server and its document.
struct Described {
    std::string server;
    std::string_view description;
    std::string file; ///< below the project's folder
    std::set<std::string> names; ///< in its table
};

void PrintTo(const Described& described, std::ostream* out) {
    *out << described.server;
}

std::vector<Described> findDescribed() {
    TV::DummyTVModule module;
    Table<TV::TVRPCServer> tv(nullptr);
    const Table<SimulatorServer> simulator(module, tv);
    return {{"TV", TV::description(), "TV/interfaces/openrpc.json", tv.getNames()},
            {"Simulator", Simulator::description(), "simulator/openrpc.json", simulator.getNames()}};
}

class DescriptionTest : public testing::TestWithParam<Described> {
protected:
    const boost::json::value document_ = boost::json::parse(GetParam().description);
};

bool isNotification(const boost::json::object& method) {
    const auto* const tags = method.if_contains("tags");
    return tags && tags->at(0).at("$ref") == "#/components/tags/notification";
}

TEST_P(DescriptionTest, NamesWhatTheServerAnswersAndNothingElse) {
    std::set<std::string> names;
    for (const auto& method : document_.at("methods").as_array())
        if (!isNotification(method.as_object())) {
            EXPECT_TRUE(names.insert(method.at("name").as_string().c_str()).second) << method.at("name");
        }
    EXPECT_EQ(names, GetParam().names);
}

TEST_P(DescriptionTest, HasTheVersionOfTheProject) {
    EXPECT_EQ(document_.at("info").at("version"), OSTREL_VERSION);
}

TEST_P(DescriptionTest, IsTheFile) {
    std::ifstream file(OSTREL_PROJECT "/" + GetParam().file);
    const std::string text(std::istreambuf_iterator<char>(file), {});
    EXPECT_EQ(GetParam().description, text);
}

INSTANTIATE_TEST_SUITE_P(Servers, DescriptionTest, testing::ValuesIn(findDescribed()),
                         [](const auto& row) { return row.param.server; });

} // namespace
} // namespace Ostrel
