#include "world/WorldInput.h"

#include "TV/server/dummy/data/WorldFolder.h"
#include "TV/server/dummy/world/BuiltInWorld.h"

namespace Ostrel::TV::Tool {

WorldInput::WorldInput(const std::string& path) {
    if (!path.empty())
        file_ = openWorld(path);
    world_ = file_ ? file_->world() : builtInWorld();
}

} // namespace Ostrel::TV::Tool
