// Any bytes: both forms of a document and the reply escape them as the rules say, byte by byte.

#include "Ostrel/serialization/Serializer.h"
#include "TV/server/dummy/documents/JsonGenerator.h"
#include "TV/server/dummy/documents/XmlGenerator.h"
#include "fuzz/Require.h"

#include <cstdio>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>

using namespace Ostrel::Fuzz;
using namespace Ostrel::TV;

namespace {

std::string print(const char* format, unsigned number) {
    char text[16];
    std::snprintf(text, sizeof text, format, number);
    return text;
}

/// How many bytes are taken along behind one, whatever they are; fewer stand at the end of a text.
unsigned followersOf(unsigned char byte) {
    return byte < 0xC0 ? 0 : byte < 0xE0 ? 1 : 2;
}

/// A byte below 0x80 inside a JSON string.
std::string escapePlainly(char byte) {
    const std::string_view shortened = "\bb\tt\nn\ff\rr\"\"\\\\";
    for (std::size_t at = 0; at != shortened.size(); at += 2)
        if (shortened[at] == byte)
            return {'\\', shortened[at + 1]};
    return byte >= 0 && byte < 0x20 ? print("\\u%.4x", static_cast<unsigned>(byte)) : std::string(1, byte);
}

std::string jsonOf(const char* text) {
    std::string out;
    while (*text != '\0') {
        const auto byte = static_cast<unsigned char>(*text);
        if (byte < 0x80)
            out += escapePlainly(*text);
        else if (byte >= 0xC0)
            out += *text;
        ++text;
        for (auto left = followersOf(byte); left != 0 && *text != '\0'; --left)
            out += *text++;
    }
    return out;
}

std::string xmlOf(const char* text) {
    std::string out;
    while (*text != '\0') {
        const auto byte = static_cast<unsigned char>(*text++);
        unsigned character = byte < 0xC0 ? byte : byte < 0xE0 ? byte & 0x1F : byte & 0x0F;
        for (auto left = followersOf(byte); left != 0; --left)
            character = character << 6 | (*text == '\0' ? 0 : static_cast<unsigned char>(*text++) & 0x3F);
        if (byte >= 0x80 && byte < 0xC0)
            continue;
        switch (character) {
        case '<':
            out += "&lt;";
            break;
        case '>':
            out += "&gt;";
            break;
        case '&':
            out += "&amp;";
            break;
        case '\'':
            out += "&apos;";
            break;
        case '"':
            out += "&quot;";
            break;
        default:
            out += character >= 32 && character <= 127 ? std::string(1, static_cast<char>(character))
                                                       : print("&#x%x;", character);
        }
    }
    return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const unsigned char* data, std::size_t size) {
    // Memory of the very size, so that a look behind the NUL is noticed.
    const auto text = std::make_unique<char[]>(size + 1);
    std::memcpy(text.get(), data, size);
    text[size] = '\0';

    JsonGenerator json;
    json.addString(nullptr, text.get());
    requireEqual(json.getString(), '"' + jsonOf(text.get()) + '"');

    XmlGenerator xml;
    xml.addString("t", text.get());
    requireEqual(xml.getString(), "<t>" + xmlOf(text.get()) + "</t>");

    std::string reply, wanted;
    const std::string_view all(text.get(), size);
    Ostrel::appendEscaped(reply, all);
    for (const char byte : all)
        wanted += escapePlainly(byte);
    requireEqual(reply, wanted);
    return 0;
}
