#include "soak/Exchange.h"

#include <charconv>

namespace Ostrel::Soak {

namespace {

constexpr std::size_t mostShown = 300; ///< bytes of a text

std::string show(std::string_view text) {
    return text.size() <= mostShown
               ? std::string(text)
               : std::string(text.substr(0, mostShown)) + "... (" + std::to_string(text.size()) + " bytes)";
}

std::string explain(const std::string& asked, const std::string& expected, std::string_view got) {
    return "asked " + show(asked) + "\n  expected " + show(expected) + "\n  got      " + show(got);
}

/// Takes a text away from the front of another, if it stands there.
bool take(std::string_view& rest, std::string_view text) {
    if (!rest.starts_with(text))
        return false;
    rest.remove_prefix(text.size());
    return true;
}

} // namespace

std::size_t readResult(std::string_view text, unsigned long& number) {
    constexpr std::string_view head = R"(,"result":)";
    if (!text.starts_with(head))
        return 0;
    const auto* end = text.data() + text.size();
    const auto [rest, failure] = std::from_chars(text.data() + head.size(), end, number);
    return failure == std::errc() && rest != end && *rest == '}' ? std::size_t(rest + 1 - text.data()) : 0;
}

std::string Exchange::check(std::string_view answer, std::time_t begin, std::time_t end) const {
    if (isGet)
        return answer == replies.front().answer ? "" : explain(text, replies.front().answer, answer);
    auto rest = answer;
    const auto wrong = [&](const std::string& expected) { return explain(text, expected, rest); };
    if (isBatch && !take(rest, "["))
        return wrong("an array");
    for (const auto& reply : replies) {
        if (isBatch && &reply != &replies.front() && !take(rest, ","))
            return wrong("a comma and another reply");
        const auto head = R"({"jsonrpc":"2.0","id":)" + reply.id;
        if (!take(rest, head))
            return wrong(head);
        unsigned long number = 0;
        switch (reply.kind) {
        case Reply::Answer:
            if (!take(rest, reply.answer))
                return wrong(head + reply.answer);
            break;
        case Reply::Time:
        case Reply::Context: {
            const auto size = readResult(rest, number);
            const auto time = std::time_t(number);
            if (size == 0 || (reply.kind == Reply::Time ? time < begin || time >= end : number == 0))
                return wrong(reply.kind == Reply::Time ? "a time from " + std::to_string(begin) +
                                                             " to before " + std::to_string(end)
                                                       : "a context");
            rest.remove_prefix(size);
        }
        }
    }
    return rest == (isBatch ? "]" : "") ? "" : wrong("the end");
}

} // namespace Ostrel::Soak
