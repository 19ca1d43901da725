// Numbers as most are written: digits, perhaps a minus in front and a point between them. They are measured and read
// sixteen units at a time: how many digits there are differs from number to number, and each loop over them would be
// guessed wrong.
#pragma once

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>

#include "json/Space.h"
#include "json/Units.h"

namespace json {

/// Where the parts of such a number end.
struct NumberShape {
    std::uint8_t length = 0;  ///< 0 where it is none
    std::uint8_t whole = 0;   ///< the units in front of the point, or all
    std::uint8_t digits = 0;
};

/// The most digits that are read at once.
inline constexpr unsigned mostDigits = 18;

/// The digits of a number as one integer, and how many of them stand behind its point.
struct PlainNumber {
    std::int64_t digits;
    int decimals;  ///< -1 without a point
    bool isNegative;
};

/// How many units must be there, whatever they are, from the first one of a number on that is measured, and up to the
/// last one of a number that is read.
inline constexpr std::ptrdiff_t unitsForShape = 2 * Units::count + 1;
inline constexpr std::ptrdiff_t unitsForValue = Units::count;

/// The shape of the number that a text begins with; none where something else than a delimiter follows it.
inline NumberShape ShapeOf(const char16_t* text) noexcept {
    const unsigned minus = *text == u'-' ? 1 : 0;
    unsigned others = ~(Units(text).Digits() | Units(text + Units::count).Digits() << Units::count) & ~minus;
    if (others == 0) return {};
    const auto whole = static_cast<unsigned>(std::countr_zero(others));
    if (whole == minus || (text[minus] == u'0' && whole != minus + 1)) return {};
    unsigned length = whole;
    unsigned point = 0;
    if (text[whole] == u'.') {
        others &= others - 1;
        if (others == 0) return {};
        length = static_cast<unsigned>(std::countr_zero(others));
        if (length == whole + 1) return {};
        point = 1;
    }
    if (!EndsScalar(text[length])) return {};
    return {static_cast<std::uint8_t>(length), static_cast<std::uint8_t>(whole),
            static_cast<std::uint8_t>(length - minus - point)};
}

/// Sixteen bytes at once.
namespace detail {

/// Bytes that are zero but for the last so many: what is loaded from some place before the middle.
inline constexpr auto lastBytes = [] {
    std::array<std::uint8_t, 2 * unitsForValue> bytes{};
    for (std::size_t i = unitsForValue; i < bytes.size(); ++i) bytes[i] = 0xFF;
    return bytes;
}();

inline __m128i Load(const void* memory) noexcept {
    return _mm_loadu_si128(static_cast<const __m128i*>(memory));
}

inline __m128i LastBytes(int count) noexcept {
    return Load(lastBytes.data() + count);
}

/// The number that sixteen digits are, a byte each: neighbours are put together to pairs, those to fours, and those to
/// eights.
inline std::int64_t Together(__m128i digits) noexcept {
    const __m128i zero = _mm_setzero_si128();
    const __m128i tens = _mm_set1_epi32(1 << 16 | 10);
    const __m128i pairs = _mm_packs_epi32(_mm_madd_epi16(_mm_unpacklo_epi8(digits, zero), tens),
                                          _mm_madd_epi16(_mm_unpackhi_epi8(digits, zero), tens));
    const __m128i fours = _mm_madd_epi16(pairs, _mm_set1_epi32(1 << 16 | 100));
    const __m128i eights = _mm_madd_epi16(_mm_packs_epi32(fours, fours), _mm_set1_epi32(1 << 16 | 10'000));
    const std::int64_t both = _mm_cvtsi128_si64(eights);
    return (both & 0xFFFF'FFFF) * 100'000'000 + (both >> 32);
}

}  // namespace detail

/// Reads a number of that shape, which has no more than mostDigits of them.
inline PlainNumber TakeApart(const char16_t* text, NumberShape shape) noexcept {
    constexpr int width = unitsForValue;
    const int length = shape.length;
    const bool isNegative = *text == u'-';
    const bool hasPoint = shape.whole != length;
    const int decimals = hasPoint ? length - shape.whole - 1 : -1;
    const char16_t* const end = text + length;
    const __m128i units = _mm_packus_epi16(detail::Load(end - width), detail::Load(end - width / 2));
    __m128i digits = _mm_sub_epi8(units, _mm_set1_epi8('0'));
    int count = std::min(length, width) - (isNegative && length <= width ? 1 : 0);
    const bool pointInSight = hasPoint && decimals < width;
    if (pointInSight) {
        const __m128i fraction = detail::LastBytes(decimals);
        digits = _mm_or_si128(_mm_and_si128(fraction, digits), _mm_andnot_si128(fraction, _mm_slli_si128(digits, 1)));
        --count;
    }
    std::int64_t number = detail::Together(_mm_and_si128(digits, detail::LastBytes(count)));
    if (length > width) {  // the few digits in front of what was in sight
        std::int64_t front = 0;
        for (int i = isNegative ? 1 : 0; i < length - width; ++i)
            if (text[i] != u'.') front = front * 10 + (text[i] - u'0');
        number += front * (pointInSight ? 1'000'000'000'000'000 : 10'000'000'000'000'000);
    }
    return {number, decimals, isNegative};
}

}  // namespace json
