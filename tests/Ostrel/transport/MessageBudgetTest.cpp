#include "Ostrel/transport/MessageBudget.h"

#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

namespace Ostrel {
namespace {

/// What some clients do, one after another: "a80" client a wants to read on with 80 KiB read,
/// "a!200" its message of 200 KiB is being carried out from now on, "a." it is answered, "ax" it
/// leaves, "tick". In the answer a client is named when it may read, at once or after a wait.
struct Row {
    const char* name;
    const char* script;
    const char* answers;
};

std::ostream& operator<<(std::ostream& out, const Row& row) {
    return out << row.name;
}

/// 1 MiB for all, 512 KiB for a message.
class Clients {
public:
    Clients() {
        for (char name = 'a'; name <= 'h'; ++name)
            readers_.push_back(
                std::make_unique<MessageBudget::Reader>(budget_, [this, name] { answer_ += name; }));
    }

    std::string run(const std::string& script) {
        std::istringstream steps(script);
        std::string answers;
        for (std::string step; steps >> step;) {
            answer_.clear();
            if (step == "tick")
                budget_.tick();
            else
                act(step[0], step.substr(1));
            answers += (answers.empty() ? "" : " ") + (answer_.empty() ? "-" : answer_);
        }
        return answers;
    }

    std::size_t getTotal() const { return budget_.getTotal(); }

private:
    void act(char name, const std::string& what) {
        auto& reader = readers_[std::size_t(name - 'a')];
        auto& work = works_[std::size_t(name - 'a')];
        if (what == "x") {
            reader->finish();
        } else if (what == ".") {
            work.reset();
            budget_.serve();
        } else if (what[0] == '!') {
            work = std::make_unique<MessageBudget::Work>(budget_, std::stoul(what.substr(1)) << 10);
            reader->finish();
        } else if (reader->mayRead(std::stoul(what) << 10) && answer_.find(name) == std::string::npos) {
            answer_ = name + answer_;
        }
    }

    MessageBudget budget_{1u << 20, 512u << 10, 1};
    std::unique_ptr<MessageBudget::Work> works_[8];
    std::vector<std::unique_ptr<MessageBudget::Reader>> readers_;
    std::string answer_;
};

// clang-format off
const Row rows[] = {
    {"ThereIsRoom",                 "a0 a63 a64 a128 a500", "a a a a a"},
    {"ShortMessagesNeedNoRoom",     "a!512 b!512 c0 c63 c64", "- - c c -"},
    {"WhoHasRoomReadsOn",           "a64 b!512 c!512 a100 a127 a128", "a - - a a -"},
    {"WorkHoldsRoomUntilAnswered",  "a!512 b!512 c64 d64 a.", "- - - - cd"},
    {"FirstComeFirstServed",        "a!512 b!400 c!112 d64 e64 f64 c. d128 e128", "- - - - - - d - -"},
    {"NobodyOvertakesTheLine",      "a!512 b!512 c64 a. d64", "- - - c d"},
    {"WhoLeavesIsNotServed",        "a!512 b!512 c64 d64 cx a.", "- - - - - d"},
    {"HalfReadMessagesDoNotBlock",  "a448 b448 c64 c100 c128 c448", "a b c c c c"},
    {"OneAtATimeBeyondTheRoom",     "a448 b448 c64 d64 e64 c128 c!200 d128 c. dx", "a b c - - c d d - e"},
    {"WhoEndsLetsTheNextGo",        "a448 b448 c64 d64 e64 cx dx", "a b c - - d e"},
    {"FavourEndsWithTheTick",       "a480 b480 c64 d64 e64 tick c100 c128 d100 e128", "a b c - - d c - d -"},
    {"WhoLosesFavourStandsInLine",   "a480 b480 c64 d64 e64 cx tick d128", "a b c - - d e -"},
    {"NotWhileMuchIsCarriedOut",    "a!512 b448 c64 tick a.", "- b - - c"},
};
// clang-format on

class MessageBudgetTable : public testing::TestWithParam<Row> {};

TEST_P(MessageBudgetTable, LetsTheseRead) {
    Clients clients;
    EXPECT_EQ(clients.run(GetParam().script), GetParam().answers);
    clients.run("ax bx cx dx ex fx a. b. c. d. e. f.");
    EXPECT_EQ(clients.getTotal(), 0u);
}

INSTANTIATE_TEST_SUITE_P(Rows, MessageBudgetTable, testing::ValuesIn(rows),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(MessageBudgetTest, PeakIsRemembered) {
    MessageBudget budget(1u << 20, 512u << 10);
    { const MessageBudget::Work work(budget, 1000); }
    EXPECT_EQ(budget.takePeak(), 1000u);
    EXPECT_EQ(budget.takePeak(), 0u);
}

TEST(MessageBudgetTest, EndedWorkDoesNotCount) {
    MessageBudget budget(1u << 20, 512u << 10);
    MessageBudget::Work work(budget, 1000);
    EXPECT_EQ(budget.getTotal(), 1000u);
    work.end();
    EXPECT_EQ(budget.getTotal(), 0u);
    work.end();
    EXPECT_EQ(budget.getTotal(), 0u);
}

} // namespace
} // namespace Ostrel
