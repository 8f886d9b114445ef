#include "TV/server/TVServer.h"

#include "Ostrel/runtime/DebugPrint.h"
#include "TV/server/TVModule.h"

namespace Ostrel::TV {

namespace {
constexpr const char* moduleName = "TVServer";
}

TVServer::TVServer(TVModule* module) : module_(module) {}

TVServer::~TVServer() = default;

// A server without a module can be taken down but not brought up.
// Meant so: docs/oddities.md, "Only uninit asks for the module".
bool TVServer::init() {
    ostrelDebugPrint(DebugLevel::Progress, moduleName, moduleName, __LINE__, "About to call TVApp()");
    module_->addListener(this);
    return true;
}

void TVServer::uninit() {
    if (module_ != nullptr)
        module_->removeListener(this);
}

} // namespace Ostrel::TV
