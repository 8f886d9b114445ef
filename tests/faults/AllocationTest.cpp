// Every allocation fails, one after another: whatever a client does meanwhile, it is answered or cut
// off, a call has taken effect as a whole or not at all, and the next client is served.

#include "tests/support/ScarceMemory.h"

#if OSTREL_SCARCE_MEMORY

#include "Ostrel/runtime/Task.h"
#include "tests/faults/Service.h"
#include "tests/faults/Ways.h"

#include <gtest/gtest.h>

#include <cctype>
#include <chrono>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace Ostrel::Test {
namespace {

/// Ends the want of memory when a client has waited for a while: as long as it lasts, nobody is let in.
class MemoryComesBack {
public:
    explicit MemoryComesBack(ScarceMemory& scarce)
        : thread_([this, &scarce] {
              std::unique_lock lock(mutex_);
              if (!ended_.wait_for(lock, std::chrono::milliseconds(20), [this] { return hasEnded_; }))
                  scarce.end();
          }) {}
    ~MemoryComesBack() {
        {
            const std::lock_guard lock(mutex_);
            hasEnded_ = true;
        }
        ended_.notify_one();
        thread_.join();
    }

    MemoryComesBack(const MemoryComesBack&) = delete;
    MemoryComesBack& operator=(const MemoryComesBack&) = delete;

private:
    std::mutex mutex_;
    std::condition_variable ended_;
    bool hasEnded_ = false;
    std::thread thread_;
};

class AllocationTest : public testing::TestWithParam<Way> {
protected:
    static void SetUpTestSuite() { sites_.clear(); }

    static void TearDownTestSuite() {
        std::printf("%-42s %6s %13s\n", "way in", "once", "from then on");
        int sums[2] = {};
        for (const auto& [name, counts] : sites_) {
            std::printf("%-42s %6d %13d\n", name.c_str(), counts[0], counts[1]);
            sums[0] += counts[0];
            sums[1] += counts[1];
        }
        std::printf("%-42s %6d %13d\n", "all", sums[0], sums[1]);
    }

    /// What the client heard; nothing where its connection was closed.
    std::optional<std::string> act() {
        try {
            return GetParam().act(service_);
        } catch (const std::exception& exception) {
            service_.dropClients();
            EXPECT_STRNE(exception.what(), "nothing came for a long time");
            return std::nullopt;
        }
    }

    std::string prepare() {
        service_.prepare();
        GetParam().begin(service_);
        service_.connectClients();
        return service_.describe();
    }

    void tryEverySite(ScarceMemory::Mode mode) {
        const auto before = prepare();
        const auto answer = act();
        ASSERT_TRUE(answer);
        const auto after = service_.describe();
        for (int site = 1;; ++site) {
            SCOPED_TRACE((mode == ScarceMemory::Once ? "once, site " : "from then on, site ") +
                         std::to_string(site));
            ASSERT_EQ(prepare(), before);
            bool hasFailed = false;
            std::optional<std::string> heard;
            {
                ScarceMemory scarce(site, mode);
                const MemoryComesBack later(scarce);
                heard = act();
                hasFailed = scarce.hasFailed();
            }
            const auto state = service_.describe();
            const auto verdict = !heard            ? Way::Wrong
                                 : heard == answer ? Way::Changed
                                                   : GetParam().judge(*heard);
            if (!heard)
                EXPECT_TRUE(state == before || state == after) << state;
            else if (verdict == Way::Wrong)
                ADD_FAILURE() << *heard << "\n is none of the answers that may come; right is\n" << *answer;
            else
                EXPECT_EQ(state, verdict == Way::Changed ? after : before) << *heard;
            if (!hasFailed) {
                sites_[GetParam().name][mode] = site - 1;
                EXPECT_EQ(heard, answer);
                break;
            }
            ASSERT_FALSE(HasFailure());
        }
        service_.dropClients();
        EXPECT_EQ(service_.countConnections(0), 0U);
    }

    Service& service_ = Service::instance();
    static inline std::map<std::string, int[2]> sites_; ///< by way in and mode
};

TEST_P(AllocationTest, FailsOnce) {
    tryEverySite(ScarceMemory::Once);
}

TEST_P(AllocationTest, FailsFromThenOn) {
    tryEverySite(ScarceMemory::FromThenOn);
}

class ScanStepTest : public testing::TestWithParam<ScarceMemory::Mode> {
protected:
    /// The percentages that the client has been told of; nothing where it was cut off.
    std::optional<std::vector<std::string>> hear() {
        try {
            std::vector<std::string> percentages;
            auto& client = service_.getClient();
            client.sendText(R"({"jsonrpc":"2.0","id":1,"method":"nothing"})");
            for (;;) {
                const auto text = client.readFrame().payload;
                if (text.find("\"id\":1") != std::string::npos)
                    return percentages;
                if (const auto at = text.find("percent"); at != std::string::npos)
                    percentages.push_back(text.substr(at));
            }
        } catch (const std::exception& exception) {
            EXPECT_STRNE(exception.what(), "nothing came for a long time");
            return std::nullopt;
        }
    }

    void beginScan() {
        service_.prepare();
        service_.connectClients();
        service_.callTV("ITVConfig::transponderListDeleteAll", R"({"sourceId":5})");
        service_.callTV("ITVConfig::scanBlindStart", R"({"sourceId":5,"useNIT":0})");
    }

    Service& service_ = Service::instance();
};

TEST_P(ScanStepTest, TheNextOneMakesUpForIt) {
    beginScan();
    Service::advance(40);
    Service::advance(1);
    const auto wanted = service_.describe();
    const auto told = hear().value();
    for (int site = 1;; ++site) {
        SCOPED_TRACE(site);
        bool hasFailed = false;
        beginScan();
        {
            const ScarceMemory scarce(site, GetParam());
            Service::advance(40);
            hasFailed = scarce.hasFailed();
        }
        Service::advance(1);
        ASSERT_EQ(service_.describe(), wanted);
        if (const auto heard = hear()) {
            ASSERT_EQ(heard->back(), told.back());
        }
        if (!hasFailed) {
            std::printf("a step of the scan: %d sites\n", site - 1);
            EXPECT_GT(site, 50);
            return;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Modes, ScanStepTest, testing::Values(ScarceMemory::Once, ScarceMemory::FromThenOn));

INSTANTIATE_TEST_SUITE_P(Ways, AllocationTest, testing::ValuesIn(ways()), [](const auto& row) {
    std::string name;
    for (const char letter : row.param.name)
        if (std::isalnum(static_cast<unsigned char>(letter)) != 0)
            name += letter;
    return name;
});

} // namespace
} // namespace Ostrel::Test

#endif
