#include "json/PlainNumber.h"

#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <bit>

namespace json {
namespace {

constexpr int width = 16;

/// Bytes that are zero but for the last so many: what is loaded from some place before the middle.
constexpr auto lastBytes = [] {
    std::array<std::uint8_t, 2 * width> bytes{};
    for (std::size_t i = width; i < bytes.size(); ++i) bytes[i] = 0xFF;
    return bytes;
}();

__m128i Load(const void* memory) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(memory));
}

__m128i LastBytes(int count) noexcept {
    return Load(lastBytes.data() + count);
}

/// Eight digits, in the halves of a word each, as two numbers of four digits in one word.
std::uint64_t FourByFour(__m128i digits) noexcept {
    const __m128i pairs = _mm_madd_epi16(digits, _mm_set_epi16(1, 10, 100, 1000, 1, 10, 100, 1000));
    const __m128i fours = _mm_add_epi32(pairs, _mm_srli_epi64(pairs, 32));
    const auto first = static_cast<std::uint32_t>(_mm_cvtsi128_si32(fours));
    const auto second = static_cast<std::uint32_t>(_mm_cvtsi128_si32(_mm_unpackhi_epi64(fours, fours)));
    return first * std::uint64_t{10'000} + second;
}

}  // namespace

bool TakeApart(std::u16string_view text, PlainNumber& number) noexcept {
    const auto length = static_cast<int>(text.size());
    const char16_t* const end = text.data() + length;
    const __m128i units = _mm_packus_epi16(Load(end - width), Load(end - width / 2));
    const auto points = static_cast<unsigned>(_mm_movemask_epi8(_mm_cmpeq_epi8(units, _mm_set1_epi8('.'))));
    const bool isNegative = text.front() == u'-';
    const int within = std::min(length, width);
    // The point, if there is one, is the last in sight, and within the number.
    const int behind = width - static_cast<int>(std::bit_width(points));
    const bool hasPoint = points != 0 && behind < within;
    if (!hasPoint && length > width && text.find(u'.') != std::u16string_view::npos) return false;

    __m128i digits = _mm_sub_epi8(units, _mm_set1_epi8('0'));
    int count = within - (isNegative && length <= width ? 1 : 0);
    if (hasPoint) {
        const __m128i fraction = LastBytes(behind);
        digits = _mm_or_si128(_mm_and_si128(fraction, digits), _mm_andnot_si128(fraction, _mm_slli_si128(digits, 1)));
        --count;
    }
    digits = _mm_and_si128(digits, LastBytes(count));
    const __m128i above = _mm_cmpeq_epi8(_mm_max_epu8(digits, _mm_set1_epi8(10)), digits);
    if (_mm_movemask_epi8(above) != 0) return false;
    const __m128i zero = _mm_setzero_si128();
    std::uint64_t value =
        FourByFour(_mm_unpacklo_epi8(digits, zero)) * 100'000'000 + FourByFour(_mm_unpackhi_epi8(digits, zero));
    if (length > width) {  // the few digits in front of what was in sight
        std::uint64_t front = 0;
        for (int i = isNegative ? 1 : 0; i < length - width; ++i) {
            const auto digit = static_cast<std::uint64_t>(text[static_cast<std::size_t>(i)] - u'0');
            if (digit > 9) return false;
            front = front * 10 + digit;
        }
        value += front * (hasPoint ? 1'000'000'000'000'000 : 10'000'000'000'000'000);
    }
    number = {value, hasPoint ? behind : -1, isNegative};
    return true;
}

}  // namespace json
