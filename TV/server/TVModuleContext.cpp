#include "TV/server/TVModuleContext.h"

namespace Ostrel::TV {

TVModuleContext::TVModuleContext(TVModule*) {}

TVModuleContext::~TVModuleContext() = default;

void TVModuleContext::addListener(IListener*) {}

void TVModuleContext::removeListener(IListener*) {}

} // namespace Ostrel::TV
