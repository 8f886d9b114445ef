#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Ostrel::TV::Tool {

/// What XMLTV has no element for, in a url element of the system "ostrel":
/// "ostrel:service?mhz=690&provider=BBC&hd". docs/worlds.md lists the words.
class OwnUrl {
public:
    static constexpr const char* system = "ostrel";

    /// @param what  "world", "service" or "event"
    explicit OwnUrl(std::string what) : what_(std::move(what)) {}

    /// Reads one; nothing when it is of another kind or none at all.
    static std::optional<OwnUrl> read(std::string_view what, std::string_view url);

    void set(const std::string& word, std::string value = {}) { values_[word] = std::move(value); }
    void set(const std::string& word, std::uint32_t value) { set(word, std::to_string(value)); }

    bool has(const std::string& word) const { return values_.count(word) != 0; }

    /// A text that a world may hold; empty when it is not there, or is none.
    std::string text(const std::string& word) const;

    /// A whole number; `otherwise` when it is not there or out of range.
    std::uint32_t number(const std::string& word, std::uint32_t least, std::uint32_t most,
                         std::uint32_t otherwise) const;

    std::string write() const;

private:
    std::string what_;
    std::map<std::string, std::string> values_;
};

} // namespace Ostrel::TV::Tool
