// Sixteen units of UTF-16 text at a time, through the vector instructions that every 64-bit x86 processor has.
#pragma once

#include <emmintrin.h>

#include <cstddef>

namespace json {

/// Sixteen units, each narrowed to a byte: units from 0x100 on become 255, those from 0x8000 on become 0. What is asked
/// of them is answered with a bit for each, the first one lowest.
class Units {
 public:
    static constexpr std::ptrdiff_t count = 16;

    explicit Units(const char16_t* text) noexcept
        : bytes_(_mm_packus_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(text)),
                                  _mm_loadu_si128(reinterpret_cast<const __m128i*>(text + 8)))) {}

    /// The units that are a given ASCII character, but not NUL.
    unsigned Equal(char character) const noexcept { return Mask(IsEqual(bytes_, character)); }

    /// Decimal digits.
    unsigned Digits() const noexcept { return Mask(IsWithin('0', 9)); }

    /// All but blanks and the control characters that are white space. White space beyond ASCII is among them.
    unsigned NotAsciiSpace() const noexcept {
        return Mask(_mm_or_si128(IsWithin('\t', 4), IsEqual(bytes_, ' '))) ^ 0xFFFF;
    }

    /// What may end a number or a word: a comma, a closing bracket or brace, anything up to the blank, and anything
    /// beyond ASCII.
    unsigned PossibleEnds() const noexcept {
        const __m128i low = _mm_cmpeq_epi8(_mm_min_epu8(bytes_, Each(' ')), bytes_);
        const __m128i closing = IsEqual(_mm_and_si128(bytes_, Each('\xDF')), ']');  // a brace but for one bit
        return Mask(_mm_or_si128(_mm_or_si128(low, closing), _mm_or_si128(IsEqual(bytes_, ','), bytes_)));
    }

 private:
    static __m128i Each(char byte) noexcept { return _mm_set1_epi8(byte); }
    static __m128i IsEqual(__m128i bytes, char byte) noexcept { return _mm_cmpeq_epi8(bytes, Each(byte)); }
    /// Bytes from a first one to the one so far behind it.
    __m128i IsWithin(char first, char span) const noexcept {
        const __m128i distance = _mm_sub_epi8(bytes_, Each(first));
        return _mm_cmpeq_epi8(_mm_min_epu8(distance, Each(span)), distance);
    }
    static unsigned Mask(__m128i bytes) noexcept { return static_cast<unsigned>(_mm_movemask_epi8(bytes)); }

    __m128i bytes_;
};

}  // namespace json
