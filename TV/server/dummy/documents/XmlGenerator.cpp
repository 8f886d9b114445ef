#include "TV/server/dummy/documents/XmlGenerator.h"

#include "TV/server/dummy/documents/Escape.h"

#include <cstdint>
#include <cstdio>

namespace Ostrel::TV {

void XmlGenerator::addTag(const std::string& name, Tag tag) {
    output += tag == Tag::Close ? "</" : "<";
    output += name;
    output += tag == Tag::Empty ? "/>" : ">";
}

std::string XmlGenerator::nameOrList(const char* name) const {
    return name ? name : getListName();
}

void XmlGenerator::addInt(const char* name, long long value) {
    const auto element = nameOrList(name);
    char digits[50];
    std::snprintf(digits, sizeof digits, "%lld", value);
    addTag(element, Tag::Open);
    output += digits;
    addTag(element, Tag::Close);
}

// Of the default only the low 32 bits count, with their sign; JSON compares all 64.
// Meant so: docs/oddities.md, "Half a default".
void XmlGenerator::addOptInt(const char* name, long long value, long long defaultValue) {
    if (value != static_cast<std::int32_t>(defaultValue))
        addInt(name, value);
}

void XmlGenerator::addString(const char* name, const char* value) {
    if (!value)
        return;
    const auto element = nameOrList(name);
    addTag(element, Tag::Open);
    escapeXml(output, value);
    addTag(element, Tag::Close);
}

void XmlGenerator::addFlag(const char* name, bool value) {
    if (value)
        addTag(name, Tag::Empty);
}

void XmlGenerator::addObjectStart(const std::string& name) {
    addTag(name, Tag::Open);
}

void XmlGenerator::addObjectEnd(const std::string& name) {
    addTag(name, Tag::Close);
}

void XmlGenerator::addListStart(const std::string&) {}

void XmlGenerator::addListEnd(const std::string&) {}

void XmlGenerator::addSeparator() {}

void XmlGenerator::begin() {}

void XmlGenerator::end() {}

} // namespace Ostrel::TV
