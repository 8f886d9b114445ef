#include "TV/server/dummy/documents/Generator.h"

#include <utility>

namespace Ostrel::TV {

Generator::StackEntry::StackEntry(Type newType, std::string newName, bool first)
    : type(newType), name(std::move(newName)), savedFirst(first) {}

Generator::Generator() = default;
Generator::~Generator() = default;

void Generator::beginObject(const std::string& name) {
    stack.emplace_back(StackEntry::Object, name, first);
    addObjectStart(name);
    first = true;
}

void Generator::endObject() {
    addObjectEnd(pop().name);
}

void Generator::beginList(const std::string& name) {
    stack.emplace_back(StackEntry::List, name, first);
    addListStart(name);
    first = true;
}

void Generator::endList() {
    addListEnd(pop().name);
}

// What was saved is how things stood before the container wrote its own separator: behind a
// container that came first, the next item counts as the first again.
// Meant so: docs/oddities.md, "No separator behind leading containers".
Generator::StackEntry Generator::pop() {
    StackEntry entry = std::move(stack.back());
    stack.pop_back();
    first = entry.savedFirst;
    return entry;
}

void Generator::separate() {
    if (first)
        first = false;
    else
        addSeparator();
}

const std::string& Generator::getListName() const {
    return stack.back().name;
}

} // namespace Ostrel::TV
