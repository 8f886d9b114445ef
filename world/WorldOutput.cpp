#include "world/WorldOutput.h"

#include "TV/server/dummy/data/TemporaryFile.h"
#include "TV/server/dummy/data/WorldFile.h"
#include "TV/server/dummy/data/WorldFolder.h"
#include "TV/server/dummy/data/WorldRules.h"
#include "world/Interrupt.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <system_error>

#include <sys/stat.h>

namespace Ostrel::TV::Tool {

namespace {

constexpr const char* compiled = ".world";

[[noreturn]] void fail(const std::string& path) {
    throw std::system_error(errno, std::generic_category(), "cannot write " + path);
}

/// Every rule is looked at again: what a command forgot to mend must not reach a service.
void check(const World& world) {
    WorldProblems problems;
    checkWorld(world, WorldPlaces::names(world), problems);
    if (problems.count() != 0)
        throw WorldError(problems);
}

} // namespace

WorldOutput::WorldOutput(const std::string& path) : path_(path) {
    while (path_.size() > 1 && path_.ends_with('/'))
        path_.pop_back();
    name_ = path_.substr(path_.find_last_of('/') + 1);
    if (path.ends_with(compiled)) {
        name_.resize(name_.size() - std::char_traits<char>::length(compiled));
        file_.emplace(path);
        return;
    }
    if (!isFree(path_))
        throw std::runtime_error(path_ + " is there already; choose another place, or delete it first");
    watchForSignals();
    std::string beside = path_ + ".XXXXXX";
    if (::mkdtemp(beside.data()) == nullptr)
        fail(path_);
    besideFolder_ = beside;
}

WorldOutput::~WorldOutput() {
    std::error_code ignored;
    if (!besideFolder_.empty())
        std::filesystem::remove_all(besideFolder_, ignored);
}

void WorldOutput::write(WorldWriter& world) {
    if (!file_)
        return writeFolder(world);
    world.write(file_->stream());
    check(WorldFile(file_->stream()).world());
    file_->putInPlace();
}

void WorldOutput::writeFolder(WorldWriter& world) {
    const TemporaryFile image = makeTemporaryFile();
    world.write(image.get());
    const WorldFile file(image.get());
    check(file.world());
    writeWorldFolder(file.world(), besideFolder_);
    checkForInterrupt();
    const mode_t mask = ::umask(0);
    ::umask(mask);
    ::chmod(besideFolder_.c_str(), 0777 & ~mask);
    if (std::rename(besideFolder_.c_str(), path_.c_str()) != 0)
        fail(path_);
    besideFolder_.clear();
}

} // namespace Ostrel::TV::Tool
