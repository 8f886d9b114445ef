#include "world/OwnUrl.h"

#include "TV/server/dummy/data/ViewerText.h"
#include "world/XmltvText.h"

#include <algorithm>
#include <charconv>
#include <cstdio>

namespace Ostrel::TV::Tool {

namespace {

/// Escapes what has a meaning in the url, blanks, which XMLTV does not keep, and what is not ASCII.
std::string escape(std::string_view text) {
    std::string escaped;
    for (const char c : text) {
        const auto byte = static_cast<unsigned char>(c); // of a plain char each machine makes its own
        if (byte > ' ' && byte < 0x80 && std::string_view("%&=?").find(c) == std::string_view::npos) {
            escaped += c;
        } else {
            char code[4];
            std::snprintf(code, sizeof code, "%%%02X", byte);
            escaped += code;
        }
    }
    return escaped;
}

std::string unescape(std::string_view text) {
    std::string plain;
    for (std::size_t i = 0; i < text.size(); ++i) {
        unsigned char byte = 0;
        const auto code = text.substr(i, 3);
        if (code.size() == 3 && code[0] == '%' &&
            std::from_chars(code.data() + 1, code.data() + 3, byte, 16).ptr == code.data() + 3) {
            plain += static_cast<char>(byte);
            i += 2;
        } else {
            plain += text[i];
        }
    }
    return plain;
}

} // namespace

std::optional<OwnUrl> OwnUrl::read(std::string_view what, std::string_view url) {
    const std::string start = std::string(system) + ":" + std::string(what) + "?";
    if (!url.starts_with(start))
        return std::nullopt;
    OwnUrl read{std::string(what)};
    url.remove_prefix(start.size());
    while (!url.empty()) {
        const auto pair = url.substr(0, url.find('&'));
        const auto sign = std::min(pair.find('='), pair.size());
        read.set(std::string(pair.substr(0, sign)), unescape(pair.substr(std::min(sign + 1, pair.size()))));
        url.remove_prefix(std::min(pair.size() + 1, url.size()));
    }
    return read;
}

std::string OwnUrl::text(const std::string& word) const {
    const auto found = values_.find(word);
    if (found == values_.end())
        return {};
    const std::string clean = cleanText(found->second);
    return findTextFault(clean) == nullptr ? clean : std::string();
}

std::uint32_t OwnUrl::number(const std::string& word, std::uint32_t least, std::uint32_t most,
                             std::uint32_t otherwise) const {
    const std::string digits = text(word);
    std::uint32_t value = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), value);
    const bool isGood = !digits.empty() && error == std::errc() && end == digits.data() + digits.size() &&
                        value >= least && value <= most;
    return isGood ? value : otherwise;
}

std::string OwnUrl::write() const {
    std::string url = std::string(system) + ":" + what_;
    char separator = '?';
    for (const auto& [word, value] : values_) {
        url += separator + word;
        if (!value.empty())
            url += "=" + escape(value);
        separator = '&';
    }
    return url;
}

} // namespace Ostrel::TV::Tool
