#include "kvcore/Utf8.h"

#include <emmintrin.h>

#include <bit>
#include <cstdint>

namespace kv {
namespace {

constexpr bool Continues(std::uint8_t byte) noexcept {
    return (byte & 0xC0) == 0x80;
}

/// Decodes a character of several bytes. @return where it ends; null where it is none
const std::uint8_t* DecodeCharacter(const std::uint8_t* from, const std::uint8_t* end, char16_t*& out) noexcept {
    const std::uint8_t lead = *from;
    const auto left = end - from;
    if (lead < 0xC2 || left < 2 || !Continues(from[1])) return nullptr;
    if (lead < 0xE0) {
        *out++ = static_cast<char16_t>((lead & 0x1F) << 6 | (from[1] & 0x3F));
        return from + 2;
    }
    if (left < 3 || !Continues(from[2])) return nullptr;
    if (lead < 0xF0) {
        const auto unit = static_cast<char16_t>((lead & 0x0F) << 12 | (from[1] & 0x3F) << 6 | (from[2] & 0x3F));
        if (unit < 0x800 || (unit & 0xF800) == 0xD800) return nullptr;
        *out++ = unit;
        return from + 3;
    }
    if (left < 4 || !Continues(from[3])) return nullptr;
    const std::uint32_t character =
        (lead & 0x07u) << 18 | (from[1] & 0x3Fu) << 12 | (from[2] & 0x3Fu) << 6 | (from[3] & 0x3Fu);
    if (lead > 0xF4 || character < 0x10000 || character > 0x10FFFF) return nullptr;
    *out++ = static_cast<char16_t>(0xD7C0 + (character >> 10));
    *out++ = static_cast<char16_t>(0xDC00 | (character & 0x3FF));
    return from + 4;
}

}  // namespace

std::optional<std::size_t> DecodeUtf8(std::span<const std::byte> bytes, char16_t* out) noexcept {
    constexpr std::ptrdiff_t block = 16;
    const auto* from = reinterpret_cast<const std::uint8_t*>(bytes.data());
    const auto* const end = from + bytes.size();
    char16_t* const begin = out;
    while (from != end) {
        if (end - from >= block) {
            // All sixteen are widened and written: those behind the first that is not ASCII are written over, and
            // there is room for as many units as there are bytes left.
            const __m128i narrow = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out), _mm_unpacklo_epi8(narrow, _mm_setzero_si128()));
            _mm_storeu_si128(reinterpret_cast<__m128i*>(out + 8), _mm_unpackhi_epi8(narrow, _mm_setzero_si128()));
            const auto others = static_cast<unsigned>(_mm_movemask_epi8(narrow));
            const int plain = others == 0 ? static_cast<int>(block) : std::countr_zero(others);
            from += plain;
            out += plain;
            if (others == 0) continue;
        }
        // Texts in other scripts go character by character as long as these are no ASCII.
        do {
            if (*from < 0x80) {
                *out++ = *from++;
            } else {
                from = DecodeCharacter(from, end, out);
                if (!from) return {};
            }
        } while (from != end && (*from >= 0x80 || end - from < block));
    }
    return static_cast<std::size_t>(out - begin);
}

}  // namespace kv
