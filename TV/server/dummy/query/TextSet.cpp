#include "TV/server/dummy/query/TextSet.h"

#include "Ostrel/runtime/Cancellation.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace Ostrel::TV {

namespace {
constexpr unsigned bytes = 256;
constexpr unsigned wordBits = 64;
constexpr std::size_t headSize = 4;

constexpr unsigned hash(std::uint32_t head) {
    return head * 0x9E3779B1u >> 16;
}

} // namespace

TextSet::TextSet(std::vector<std::string_view> texts)
    : texts_(std::move(texts)), shorts_(bytes * bytes / wordBits, 0), longs_(shorts_),
      firsts_(bytes * bytes + 1, 0) {
    const auto allow = [](Bits& bits, unsigned bit) {
        bits[bit / wordBits] |= std::uint64_t{1} << bit % wordBits;
    };
    unsigned from = 0;
    for (const std::string_view text : texts_) {
        std::uint32_t head = 0;
        for (std::size_t i = 0; i != headSize; ++i)
            head = head * bytes + (i < text.size() ? byteOf(text[i]) : 0);
        const unsigned pair = head / (bytes * bytes);
        if (pair >= from)
            std::fill(firsts_.begin() + from, firsts_.begin() + pair + 1,
                      static_cast<std::uint16_t>(heads_.size()));
        from = pair + 1;
        heads_.push_back(head);
        if (text.size() >= headSize)
            allow(longs_, hash(head));
        else
            allow(shorts_, pair);
        for (unsigned any = 1; text.size() == 1 && any != bytes; ++any)
            allow(shorts_, pair + any);
    }
    std::fill(firsts_.begin() + from, firsts_.end(), static_cast<std::uint16_t>(texts_.size()));
}

bool TextSet::occurIn(const char* text) const {
    return scan(text, [](std::size_t) { return true; });
}

void TextSet::find(FoundTexts& found) const {
    const std::string_view texts = found.texts();
    for (std::size_t offset = 0; offset < texts.size();) {
        Cancellation::check();
        const std::string_view text = texts.data() + offset;
        if (occurIn(text.data()))
            found.add(offset);
        offset += text.size() + 1;
    }
}

void TextSet::mark(const char* text, Marks& marks) const {
    std::size_t left = size() - marks.count();
    scan(text, [&](std::size_t number) {
        if (!marks[number]) {
            marks.set(number);
            --left;
        }
        return left == 0;
    });
}

template <typename Found> bool TextSet::scan(const char* text, Found found) const {
    // What may be a start is noted without a branch, of which every other one would be foretold wrongly.
    std::array<std::uint32_t, 256> starts;
    const auto isSet = [](const Bits& bits, unsigned bit) {
        return bits[bit / wordBits] >> bit % wordBits & 1;
    };
    const std::size_t size = std::strlen(text);
    const auto byteAt = [&](std::size_t i) { return i < size ? byteOf(text[i]) : 0; };
    std::uint32_t head = (byteAt(0) * bytes + byteAt(1)) * bytes + byteAt(2);
    for (std::size_t start = 0; start < size;) {
        std::size_t count = 0;
        for (const std::size_t end = std::min(size, start + starts.size()); start != end; ++start) {
            head = head * bytes + byteAt(start + headSize - 1);
            starts[count] = static_cast<std::uint32_t>(start);
            count += isSet(shorts_, head / (bytes * bytes)) | isSet(longs_, hash(head));
        }
        for (std::size_t i = 0; i != count; ++i)
            if (scanStart(text + starts[i], found))
                return true;
    }
    return false;
}

template <typename Found> bool TextSet::scanStart(const char* text, Found found) const {
    const unsigned alone = byteOf(text[0]) * bytes, pair = alone + byteOf(text[1]);
    if (firsts_[alone] != firsts_[alone + 1] && found(firsts_[alone]))
        return true;
    if (pair == alone)
        return false;
    // Of those with these two bytes the one of two bytes leads, then for each third byte that of three.
    auto first = heads_.begin() + firsts_[pair];
    const auto last = heads_.begin() + firsts_[pair + 1];
    const auto number = [&](auto head) { return static_cast<std::size_t>(head - heads_.begin()); };
    const std::uint32_t two = pair * bytes * bytes, three = two + byteOf(text[2]) * bytes;
    if (first != last && *first == two && found(number(first++)))
        return true;
    if (three == two)
        return false;
    first = std::lower_bound(first, last, three);
    if (first != last && *first == three && found(number(first++)))
        return true;
    const std::uint32_t four = three + byteOf(text[3]);
    if (four == three)
        return false;
    first = std::lower_bound(first, last, four);
    if (first == last || *first != four)
        return false;
    return scanRange(text, headSize, number(first), number(std::upper_bound(first, last, four)), found);
}

template <typename Found> bool TextSet::scanRange(const char* text, std::size_t depth, std::size_t first,
                                                  std::size_t last, Found found) const {
    const auto byteAt = [&](std::size_t number) { return byteOf(texts_[number][depth]); };
    while (first != last) {
        // The shortest one leads, and they differ.
        if (texts_[first].size() == depth) {
            if (found(first++))
                return true;
            continue;
        }
        if (last - first == 1) {
            const std::string_view rest = texts_[first].substr(depth);
            return std::strncmp(text + depth, rest.data(), rest.size()) == 0 && found(first);
        }
        const unsigned next = byteOf(text[depth]);
        if (next < byteAt(first) || next > byteAt(last - 1))
            return false;
        if (byteAt(first) != byteAt(last - 1)) {
            const auto isLess = [&](std::string_view one, unsigned byte) {
                return byteOf(one[depth]) < byte;
            };
            const auto begin = texts_.begin();
            const auto from = std::lower_bound(begin + static_cast<std::ptrdiff_t>(first),
                                               begin + static_cast<std::ptrdiff_t>(last), next, isLess);
            const auto to =
                std::lower_bound(from, begin + static_cast<std::ptrdiff_t>(last), next + 1, isLess);
            first = static_cast<std::size_t>(from - begin);
            last = static_cast<std::size_t>(to - begin);
        }
        ++depth;
    }
    return false;
}

} // namespace Ostrel::TV
