#include "TV/server/TVModuleContext.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <vector>

using namespace Ostrel::TV;

#if defined(__x86_64__) && defined(__GNUC__)

namespace {

/// The places of virtual functions in the first table of their class. The C++ ABI of this platform
/// makes a pointer to such a function of one plus the place in bytes.
template <typename... Function> std::vector<std::size_t> slotsOf(Function... functions) {
    const auto slotOf = [](auto function) {
        std::uintptr_t coded = 0;
        std::memcpy(&coded, &function, sizeof coded);
        return (coded - 1) / sizeof(void*);
    };
    return {slotOf(functions)...};
}

} // namespace

// Modules are built without the server that calls them.
TEST(TVModuleContextTest, KeepsTheOrderOfItsOperations) {
    using Context = TVModuleContext;
    const auto slots =
        slotsOf(&Context::uninit, &Context::serviceListSeekByUri, &Context::serviceListSeekByChannelNumber,
                &Context::serviceListSet, &Context::serviceListRead, &Context::serviceListGet,
                &Context::serviceListSeek, &Context::nowNextGet, &Context::signalStatusGet,
                &Context::utcTimeGet, &Context::serviceListDeleteAll, &Context::serviceListDelete,
                &Context::transponderListDeleteAll, &Context::transponderListAdd, &Context::scanBlindStart,
                &Context::scanHomeStart, &Context::scanStart, &Context::scanStop, &Context::scanInfoGet,
                &Context::query, &Context::queryEventInfo, &Context::queryNowNextEventInfo,
                &Context::getGenreStringMapList, &Context::addListener, &Context::removeListener);
    std::vector<std::size_t> expected;
    for (std::size_t slot = 3; expected.size() < slots.size(); ++slot) // behind init and two destructors
        expected.push_back(slot);
    EXPECT_EQ(slots, expected);
}

#endif
