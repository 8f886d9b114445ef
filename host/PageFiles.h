#pragma once

#include "Ostrel/transport/PageFile.h"

#include <span>

namespace Ostrel {

/// The files of the web page, as the build has put them into this program; none if it was left out.
std::span<const PageFile> getPageFiles() noexcept;

} // namespace Ostrel
