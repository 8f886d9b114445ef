#include "host/PageFiles.h"

namespace Ostrel {

std::span<const PageFile> getPageFiles() noexcept {
    return {};
}

} // namespace Ostrel
