#include "TV/server/dummy/query/TextSearch.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <utility>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace Ostrel::TV {

namespace {

/// Looks for one text in a long one, many places at once: only where two of its bytes stand is it compared, those that
/// are the rarest there.
class Scan {
public:
    /// @param all  what will be looked through; both must stay where they are
    Scan(std::string_view wanted, std::string_view all) : wanted_(wanted) {
        constexpr std::size_t sampleSize = 1024;
        std::array<std::uint16_t, 256> counts{};
        for (const char c : all.substr(all.size() / 2, sampleSize))
            ++counts[static_cast<unsigned char>(c)];
        const auto countAt = [&](std::size_t i) { return counts[static_cast<unsigned char>(wanted[i])]; };
        for (std::size_t i = 1; i < wanted.size(); ++i) {
            if (countAt(i) < countAt(rarest_))
                second_ = std::exchange(rarest_, i);
            else if (second_ == rarest_ || countAt(i) < countAt(second_))
                second_ = i;
        }
    }

    /// The first place where it stands; null for none.
    const char* find(const char* at, const char* end) const {
#ifdef __SSE2__
        // A text that is longer, and nearly stands in many places, would be compared for too long.
        constexpr std::size_t longest = 64;
        if (wanted_.size() > 1 && wanted_.size() <= longest) {
            for (const auto room = static_cast<std::ptrdiff_t>(wanted_.size()) - 1 + blockSize;
                 end - at >= room; at += blockSize) {
                for (std::uint64_t found = findProbes(at); found != 0; found &= found - 1) {
                    const char* const hit = at + std::countr_zero(found);
                    if (std::memcmp(hit, wanted_.data(), wanted_.size()) == 0)
                        return hit;
                }
            }
        }
#endif
        return static_cast<const char*>(
            memmem(at, static_cast<std::size_t>(end - at), wanted_.data(), wanted_.size()));
    }

private:
#ifdef __SSE2__
    static constexpr std::ptrdiff_t blockSize = 64;

    /// A bit for each place of a block from which on both bytes stand where they do in the text.
    std::uint64_t findProbes(const char* block) const {
        const __m128i rarest = _mm_set1_epi8(wanted_[rarest_]), second = _mm_set1_epi8(wanted_[second_]);
        const auto load = [](const char* from) {
            return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        };
        __m128i found[blockSize / 16];
        for (std::size_t i = 0; i != std::size(found); ++i)
            found[i] = _mm_and_si128(_mm_cmpeq_epi8(load(block + 16 * i + rarest_), rarest),
                                     _mm_cmpeq_epi8(load(block + 16 * i + second_), second));
        const __m128i any = _mm_or_si128(_mm_or_si128(found[0], found[1]), _mm_or_si128(found[2], found[3]));
        if (_mm_movemask_epi8(any) == 0)
            return 0;
        std::uint64_t bits = 0;
        for (std::size_t i = 0; i != std::size(found); ++i)
            bits |= static_cast<std::uint64_t>(_mm_movemask_epi8(found[i])) << 16 * i;
        return bits;
    }
#endif

    const std::string_view wanted_;
    std::size_t rarest_ = 0, second_ = 0; ///< of its bytes
};

} // namespace

void TextSearch::find(FoundTexts& found) const {
    // The empty text leads, so that a NUL stands before every other one.
    const std::string_view texts = found.texts();
    const char* const start = texts.data();
    const char* const end = start + texts.size();
    const Scan scan(wanted_, texts);
    for (const char* at = start + 1; at < end;) {
        const char* const hit = scan.find(at, end);
        if (hit == nullptr)
            break;
        const void* const before = memrchr(start, '\0', static_cast<std::size_t>(hit - start));
        found.add(static_cast<std::size_t>(static_cast<const char*>(before) + 1 - start));
        at = hit + std::strlen(hit) + 1;
    }
}

} // namespace Ostrel::TV
