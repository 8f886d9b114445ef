#include "TV/server/dummy/documents/JsonGenerator.h"

#include "TV/server/dummy/documents/Escape.h"

#include <cstdio>

namespace Ostrel::TV {

void JsonGenerator::addKey(const char* name) {
    separate();
    if (!name || *name == '\0')
        return;
    output += '"';
    escapeJson(output, name);
    output += "\": ";
}

void JsonGenerator::addInt(const char* name, long long value) {
    addKey(name);
    char digits[50];
    std::snprintf(digits, sizeof digits, "%lld", value);
    output += digits;
}

void JsonGenerator::addOptInt(const char* name, long long value, long long defaultValue) {
    if (value != defaultValue)
        return addInt(name, value);
    addKey(name);
    output += "null";
}

void JsonGenerator::addString(const char* name, const char* value) {
    addKey(name);
    output += '"';
    escapeJson(output, value ? value : "");
    output += '"';
}

void JsonGenerator::addFlag(const char* name, bool value) {
    addKey(name);
    output += value ? "true" : "false";
}

void JsonGenerator::addObjectStart(const std::string& name) {
    addKey(name.c_str());
    output += "{ ";
}

void JsonGenerator::addObjectEnd(const std::string&) {
    output += " }";
}

void JsonGenerator::addListStart(const std::string& name) {
    addKey(name.c_str());
    output += "[ ";
}

void JsonGenerator::addListEnd(const std::string&) {
    output += " ]";
}

void JsonGenerator::addSeparator() {
    output += ", ";
}

void JsonGenerator::begin() {
    output += "{ ";
}

void JsonGenerator::end() {
    output += " }";
}

} // namespace Ostrel::TV
