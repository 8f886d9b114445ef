#include "Ostrel/text/Printable.h"

#include "Ostrel/text/Utf8.h"

namespace Ostrel {

namespace {

constexpr std::size_t excerptSize = 64; ///< bytes

void appendEscape(std::string& out, unsigned char byte) {
    constexpr char digits[] = "0123456789abcdef";
    const char escape[] = {'\\', 'x', digits[byte >> 4], digits[byte & 15]};
    out.append(escape, sizeof escape);
}

} // namespace

void appendPrintable(std::string& out, std::string_view text) {
    out.reserve(out.size() + text.size());
    unsigned char before = 0;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c);
        // U+0080 to U+009F control a terminal too; in UTF-8 they are the second byte after 0xc2.
        const bool isC1 = before == 0xc2 && byte >= 0x80 && byte < 0xa0;
        before = byte;
        if (isC1) {
            out.pop_back();
            appendEscape(out, 0xc2);
        }
        if (byte < 0x20 || byte == 0x7f || isC1)
            appendEscape(out, byte);
        else
            out += c;
    }
}

std::string excerpt(std::string_view text) {
    std::string out;
    appendPrintable(out, cutText(text, excerptSize));
    return out;
}

} // namespace Ostrel
