// Any bytes: both escapers and the reply's keep what they promise.

#include "Ostrel/serialization/Serializer.h"
#include "TV/server/dummy/documents/JsonGenerator.h"
#include "TV/server/dummy/documents/XmlGenerator.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>

using namespace Ostrel::TV;

namespace {

/// What belongs between the quotation marks, byte by byte.
std::string escapePlainly(const char* text) {
    std::string out;
    while (*text != '\0') {
        const auto byte = static_cast<unsigned char>(*text++);
        char control[10];
        std::snprintf(control, sizeof control, "\\u%.4x", unsigned{byte});
        if (byte >= 0xC0) {
            out += static_cast<char>(byte);
            for (int follow = byte >= 0xE0 ? 2 : 1; follow != 0 && *text != '\0'; --follow)
                out += *text++;
        } else if (byte >= 0x80) {
            continue;
        } else if (const char* sign = byte == 0 ? nullptr : std::strchr("\bb\tt\nn\ff\rr", byte);
                   sign && byte < 0x20) {
            out += {'\\', sign[1]};
        } else if (byte < 0x20) {
            out += control;
        } else {
            if (byte == '"' || byte == '\\')
                out += '\\';
            out += static_cast<char>(byte);
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
    if (json.getString() != '"' + escapePlainly(text.get()) + '"')
        std::abort();

    XmlGenerator xml;
    xml.addString("t", text.get());
    const auto inside = xml.getString().substr(3, xml.getString().size() - 7);
    for (const char c : inside)
        if (static_cast<unsigned char>(c) >= 0x80 || c < 0x20 || std::strchr("<>\"'", c))
            std::abort();

    std::string escaped;
    Ostrel::appendEscaped(escaped, {text.get(), size});
    for (const char c : escaped)
        if (static_cast<unsigned char>(c) < 0x20)
            std::abort();
    return 0;
}
