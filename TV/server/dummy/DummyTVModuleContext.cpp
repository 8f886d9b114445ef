// The context itself, and its way through the service lists.

#include "TV/server/dummy/DummyTVModuleContext.h"

#include "Ostrel/rpc/Exception.h"
#include "Ostrel/runtime/Clock.h"
#include "Ostrel/runtime/DebugPrint.h"

#include <algorithm>
#include <cstddef>
#include <memory>

namespace Ostrel::TV {

namespace {
constexpr const char* moduleName = "DummyTVModule";
}

// It stands here so that the module's own source need not know what a context is made of.
TVModuleContext* DummyTVModule::createContext() {
    auto context = std::make_unique<DummyTVModuleContext>(this);
    context->init();
    return context.release();
}

DummyTVModuleContext::DummyTVModuleContext(DummyTVModule* owner) : TVModuleContext(owner), module(owner) {}

bool DummyTVModuleContext::init() {
    return true;
}

DummyTVModuleContext::~DummyTVModuleContext() {
    DummyTVModuleContext::uninit();
}

// Any context that goes ends the scan, whoever started it, without the lock and without an event.
// Meant so: docs/oddities.md, "Deleting a context ends the scan".
void DummyTVModuleContext::uninit() OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    module->scanState.stop();
}

void DummyTVModuleContext::fail(const char* operation, ReturnCode code, int line) {
    const Exception exception(code);
    ostrelDebugPrint(DebugLevel::Error, moduleName, moduleName, line, throwingException, operation,
                     exception.what());
    throw exception;
}

VectorObject<ITVService::ServiceInfo>& DummyTVModuleContext::selectedListUnderLock() {
    return listIsAll ? module->services : module->scannedServices;
}

bool DummyTVModuleContext::serviceListSet(const std::string& base) {
    if (base != "all" && base != "new")
        fail("serviceListSet", ReturnCode::InvalidParameter, __LINE__);
    listIsAll = base == "all";
    selectedIn = module->age;
    position = 0;
    return true;
}

VectorObject<ITVService::ServiceInfo> DummyTVModuleContext::serviceListGet(const unsigned& limit) {
    if (!listSelected())
        fail("serviceListGet", ReturnCode::InvalidState, __LINE__);
    // A sum past 4294967295 wraps, and then there is nothing to give.
    // Meant so: docs/oddities.md, "A limit that wraps".
    const std::uint32_t wanted = position + limit;

    const Mutex::Hold hold(module->mutex);
    const auto& selected = selectedListUnderLock();
    const auto end = std::min<std::size_t>(wanted, selected.size());
    if (position >= end)
        return {};
    const auto begin = selected.begin();
    return VectorObject<ServiceInfo>(begin + position, begin + static_cast<std::ptrdiff_t>(end));
}

VectorObject<ITVService::ServiceInfo> DummyTVModuleContext::serviceListRead(const unsigned& limit) {
    auto slice = serviceListGet(limit);
    // The lock is back by now: the cursor belongs to one client, which waits for its answer.
    // Meant so: docs/oddities.md, "Cursor moved outside the lock".
    position += static_cast<std::uint32_t>(slice.size());
    return slice;
}

unsigned DummyTVModuleContext::serviceListSeek(const int& offset,
                                               const unsigned& whence) OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    if (!listSelected())
        fail("serviceListSeek", ReturnCode::InvalidState, __LINE__);

    module->mutex.lock();
    const auto size = static_cast<std::uint32_t>(selectedListUnderLock().size());
    std::uint32_t origin = 0;
    switch (whence) {
    case 0:
        break;
    case 1:
        origin = position;
        break;
    case 2:
        origin = size;
        break;
    default:
        // The lock stays held; the platform takes it away when the handler hands back.
        // Meant so: docs/oddities.md, "Lock left held".
        fail("serviceListSeek", ReturnCode::InvalidParameter, __LINE__);
    }
    const auto target = static_cast<std::int32_t>(origin + static_cast<std::uint32_t>(offset));
    if (target < 0 || static_cast<std::uint32_t>(target) > size) {
        module->mutex.unlock();
        fail("serviceListSeek", ReturnCode::InvalidParameter, __LINE__);
    }
    position = static_cast<std::uint32_t>(target);
    module->mutex.unlock();
    return position;
}

template <typename Matches> bool DummyTVModuleContext::seekFirst(Matches matches) {
    const Mutex::Hold hold(module->mutex);
    const auto& selected = selectedListUnderLock();
    const auto found = std::find_if(selected.begin(), selected.end(), matches);
    if (found == selected.end())
        return false;
    position = static_cast<std::uint32_t>(found - selected.begin());
    return true;
}

unsigned DummyTVModuleContext::serviceListSeekByUri(const std::string& uri) {
    if (!listSelected())
        fail("serviceListSeekByUri", ReturnCode::InvalidState, __LINE__);
    if (!seekFirst([&](const ServiceInfo& service) { return service.getUri() == uri; }))
        fail("serviceListSeekByUri", ReturnCode::InvalidParameter, __LINE__);
    return position;
}

unsigned DummyTVModuleContext::serviceListSeekByChannelNumber(const unsigned& channelNumber) {
    if (!listSelected())
        fail("serviceListSeekByChannelNumber", ReturnCode::InvalidState, __LINE__);
    if (!seekFirst([&](const ServiceInfo& service) { return service.getChannelNumber() == channelNumber; }))
        fail("serviceListSeekByChannelNumber", ReturnCode::InvalidParameter, __LINE__);
    return position;
}

// Unlike its neighbours this operation takes no lock; the turn keeps two deletes apart.
// Meant so: docs/oddities.md, "Delete without the lock".
bool DummyTVModuleContext::serviceListDelete() OSTREL_NO_THREAD_SAFETY_ANALYSIS {
    auto& services = module->services;
    if (!listSelected() || !listIsAll)
        fail("serviceListDelete", ReturnCode::InvalidState, __LINE__);
    if (position >= services.size())
        fail("serviceListDelete", ReturnCode::InvalidState, __LINE__);
    services.erase(services.begin() + position);
    return true;
}

bool DummyTVModuleContext::serviceListDeleteAll() {
    if (!listSelected() || !listIsAll)
        fail("serviceListDeleteAll", ReturnCode::InvalidState, __LINE__);
    const Mutex::Hold hold(module->mutex);
    module->services.clear();
    position = 0;
    return true;
}

ITVService::SignalStatus DummyTVModuleContext::signalStatusGet(const unsigned&) {
    return module->signalStatus;
}

std::time_t DummyTVModuleContext::utcTimeGet() {
    return Clock::now() + module->timeOffset;
}

} // namespace Ostrel::TV
