#include "kvcore/Utf.h"

#include <emmintrin.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace kv {
namespace {

constexpr char16_t replacement = 0xFFFD;

constexpr bool IsHighSurrogate(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsLowSurrogate(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xDC00;
}

/// What a first byte announces: how many bytes follow it, and the range of the first of them, which keeps out overlong
/// forms, surrogates and what lies beyond U+10FFFF (The Unicode Standard, table 3-7).
struct Lead {
    std::uint8_t first, last;  // the first bytes that the row is for
    std::uint8_t following;
    std::uint8_t low, high;  // of the second byte
};
constexpr Lead leads[] = {
    {0x00, 0x7F, 0, 0x00, 0x00}, {0xC2, 0xDF, 1, 0x80, 0xBF}, {0xE0, 0xE0, 2, 0xA0, 0xBF},
    {0xE1, 0xEC, 2, 0x80, 0xBF}, {0xED, 0xED, 2, 0x80, 0x9F}, {0xEE, 0xEF, 2, 0x80, 0xBF},
    {0xF0, 0xF0, 3, 0x90, 0xBF}, {0xF1, 0xF3, 3, 0x80, 0xBF}, {0xF4, 0xF4, 3, 0x80, 0x8F},
};

const Lead* LeadOf(std::uint8_t byte) noexcept {
    for (const Lead& lead : leads)
        if (byte >= lead.first && byte <= lead.last) return &lead;
    return nullptr;
}

/// Reads one character, or one run that is none, from the front of the text.
char32_t TakeCharacter(std::string_view& text) noexcept {
    const auto byteAt = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const Lead* lead = LeadOf(byteAt(0));
    std::size_t taken = 1;
    char32_t character = replacement;
    if (lead) {
        character = lead->following == 0 ? byteAt(0) : byteAt(0) & (0x3F >> lead->following);
        for (std::uint8_t low = lead->low, high = lead->high; taken <= lead->following; low = 0x80, high = 0xBF) {
            if (taken == text.size() || byteAt(taken) < low || byteAt(taken) > high) {
                character = replacement;
                break;
            }
            character = character << 6 | (byteAt(taken++) & 0x3F);
        }
    }
    text.remove_prefix(taken);
    return character;
}

/// What stands for each ASCII character in a text between quotation marks: the letter of its escape, which is u where
/// it has no short one; NUL where it stands for itself.
constexpr auto escapeLetters = [] {
    std::array<char, 128> letters{};
    for (std::size_t i = 0; i < 0x20; ++i) letters[i] = 'u';
    letters['"'] = '"';
    letters['\\'] = '\\';
    letters['\b'] = 'b';
    letters['\f'] = 'f';
    letters['\n'] = 'n';
    letters['\r'] = 'r';
    letters['\t'] = 't';
    return letters;
}();

char* PutReplacement(char* out) noexcept {
    for (const char byte : {'\xEF', '\xBF', '\xBD'}) *out++ = byte;
    return out;
}

/// Whether bytes are one of several characters.
template <class... Characters>
__m128i AreAny(__m128i bytes, Characters... characters) noexcept {
    __m128i found = _mm_setzero_si128();
    ((found = _mm_or_si128(found, _mm_cmpeq_epi8(bytes, _mm_set1_epi8(characters)))), ...);
    return found;
}

// How a text becomes bytes: which bytes do not stand for themselves, and what is put for those that do not, for units
// beyond the greatest and for lone surrogates.
struct PlainText {
    static constexpr char32_t greatest = 0xFFFF;
    static __m128i Differing(__m128i bytes) noexcept { return _mm_cmplt_epi8(bytes, _mm_set1_epi8(1)); }
    static bool IsEscaped(char16_t) noexcept { return false; }
    static char* PutEscape(char* out, char16_t, char16_t) noexcept { return PutReplacement(out); }
};
struct EscapedText {
    static constexpr char32_t greatest = 0xFFFF;
    static __m128i Differing(__m128i bytes) noexcept {
        return _mm_or_si128(_mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20)), AreAny(bytes, '"', '\\'));
    }
    static bool IsEscaped(char16_t ascii) noexcept { return escapeLetters[ascii] != 0; }
    static char* PutEscape(char* out, char16_t unit, char16_t = 0) noexcept {
        constexpr std::string_view digits = "0123456789abcdef";
        const char letter = unit < 0x80 ? escapeLetters[unit] : 'u';
        *out++ = '\\';
        *out++ = letter;
        if (letter == 'u')
            for (int shift = 12; shift >= 0; shift -= 4) *out++ = digits[unit >> shift & 0xF];
        return out;
    }
};

/// What stands for an ASCII character in a text of XML; empty where it stands for itself.
constexpr std::string_view EntityOf(char16_t ascii) noexcept {
    switch (ascii) {
        case u'"':
            return "&quot;";
        case u'&':
            return "&amp;";
        case u'\'':
            return "&apos;";
        case u'<':
            return "&lt;";
        case u'>':
            return "&gt;";
        default:
            return {};
    }
}

template <bool normalisesLineEnds>
struct XmlText {
    static constexpr char32_t greatest = 0xFFFD;
    static __m128i Differing(__m128i bytes) noexcept {
        const __m128i marks = AreAny(bytes, '"', '&', '\'', '<', '>');
        return _mm_or_si128(_mm_cmplt_epi8(bytes, _mm_set1_epi8(0x20)), marks);
    }
    static bool IsEscaped(char16_t ascii) noexcept { return areEscaped[ascii]; }
    static char* PutEscape(char* out, char16_t unit, char16_t next) noexcept {
        if (unit == u'\r') {
            if (next != u'\n') *out++ = '\n';
            return out;
        }
        if (unit >= 0x80) return unit > greatest ? out : PutReplacement(out);
        const std::string_view entity = EntityOf(unit);
        return std::copy(entity.begin(), entity.end(), out);
    }

 private:
    static constexpr auto areEscaped = [] {
        std::array<bool, 128> are{};
        for (std::size_t ascii = 0; ascii < are.size(); ++ascii)
            are[ascii] = ascii < 0x20 || !EntityOf(static_cast<char16_t>(ascii)).empty();
        are[u'\t'] = are[u'\n'] = false;
        are[u'\r'] = normalisesLineEnds;
        return are;
    }();
};

/// Writes one character, or what stands for a lone surrogate.
template <class Kind>
char* PutOne(char* out, const char16_t*& from, const char16_t* end) noexcept {
    const auto put = [&](char32_t byte) { *out++ = static_cast<char>(static_cast<unsigned char>(byte)); };
    const auto putEscape = [&](char32_t unit) {
        return Kind::PutEscape(out, static_cast<char16_t>(unit), from == end ? u'\0' : *from);
    };
    const char32_t first = *from++;
    if (first < 0x80) {
        if (Kind::IsEscaped(static_cast<char16_t>(first))) return putEscape(first);
        put(first);
        return out;
    }
    if (first > Kind::greatest) return putEscape(first);
    if (first < 0x800) {
        put(0xC0 | first >> 6);
    } else if ((first & 0xF800) != 0xD800) {
        put(0xE0 | first >> 12);
        put(0x80 | (first >> 6 & 0x3F));
    } else if (from != end && first < 0xDC00 && IsLowSurrogate(*from)) {
        const char32_t character = 0x10000 + ((first & 0x3FF) << 10) + (*from++ & 0x3FFu);
        put(0xF0 | character >> 18);
        put(0x80 | (character >> 12 & 0x3F));
        put(0x80 | (character >> 6 & 0x3F));
        put(0x80 | (character & 0x3F));
        return out;
    } else {
        return putEscape(first);
    }
    put(0x80 | (first & 0x3F));
    return out;
}

/// Writes the bytes of so many units. @return which of those do not stand for themselves, the first in the lowest bit
template <class Kind, int Count>
unsigned PutBytes(char* out, const char16_t* from) noexcept {
    const auto* const units = reinterpret_cast<const __m128i*>(from);
    // What is no byte becomes 0xFF, or zero from 0x8000 on: neither stands for itself.
    const __m128i wide = Count == 8 ? _mm_loadu_si128(units) : _mm_loadl_epi64(units);
    const __m128i bytes = _mm_packus_epi16(wide, wide);
    const std::int64_t eight = _mm_cvtsi128_si64(bytes);
    std::memcpy(out, &eight, Count);
    return static_cast<unsigned>(_mm_movemask_epi8(Kind::Differing(bytes))) & ((1u << Count) - 1);
}

/// Writes units of one byte up to the first that does not stand for itself, at most Count. @return whether all did
template <class Kind, int Count>
bool PutSame(char*& out, const char16_t*& from) noexcept {
    const unsigned different = PutBytes<Kind, Count>(out, from);
    // A step of a known length, the common one, need not wait for what was found.
    const int same = different == 0 ? Count : std::countr_zero(different);
    out += same;
    from += same;
    return different == 0;
}

template <class Kind>
char* Put(char* out, std::u16string_view text) noexcept {
    const char16_t* from = text.data();
    const char16_t* const end = from + text.size();
    while (end - from >= 8) {
        if (PutSame<Kind, 8>(out, from)) [[likely]]
            continue;
        const char16_t* const stop = end - from > 8 ? from + 8 : end;
        do out = PutOne<Kind>(out, from, end);
        while (from < stop);
    }
    if (end - from >= 4) PutSame<Kind, 4>(out, from);
    while (from != end) {
        if (const char16_t unit = *from; unit < 0x80 && !Kind::IsEscaped(unit)) {
            *out++ = static_cast<char>(unit);
            ++from;
        } else {
            out = PutOne<Kind>(out, from, end);
        }
    }
    return out;
}

/// As many units as are made bytes at once where there is no telling how many bytes they become.
constexpr std::size_t pieceSize = 512;

/// Appends a text as bytes without taking memory for more than there are.
template <class Kind>
void Append(std::string& out, std::u16string_view text) {
    std::array<char, pieceSize * escapedUnitSize> bytes;
    while (!text.empty()) out.append(bytes.data(), Put<Kind>(bytes.data(), TakePiece(text, pieceSize)));
}

}  // namespace

std::u16string Utf16(std::string_view text) {
    std::u16string out;
    out.reserve(text.size());
    while (!text.empty()) {
        const char32_t character = TakeCharacter(text);
        if (character < 0x10000) {
            out += static_cast<char16_t>(character);
        } else {
            out += static_cast<char16_t>(0xD7C0 + (character >> 10));
            out += static_cast<char16_t>(0xDC00 | (character & 0x3FF));
        }
    }
    return out;
}

std::string Utf8(std::u16string_view text) {
    std::string out;
    out.reserve(text.size());
    Append<PlainText>(out, text);
    return out;
}

void AppendQuoted(std::string& out, std::u16string_view text) {
    out += '"';
    Append<EscapedText>(out, text);
    out += '"';
}

char* PutUtf8(char* out, std::u16string_view text) noexcept {
    return Put<PlainText>(out, text);
}

char* PutEscaped(char* out, std::u16string_view text) noexcept {
    return Put<EscapedText>(out, text);
}

char* PutXmlText(char* out, std::u16string_view text, bool normalisesLineEnds) noexcept {
    return normalisesLineEnds ? Put<XmlText<true>>(out, text) : Put<XmlText<false>>(out, text);
}

char* PutEscapedAscii(char* out, std::string_view text) noexcept {
    constexpr int block = 16;
    const char* from = text.data();
    const char* const end = from + text.size();
    const auto putOne = [&] {
        const auto unit = static_cast<char16_t>(*from);
        if (EscapedText::IsEscaped(unit)) {
            out = EscapedText::PutEscape(out, unit);
        } else {
            *out++ = *from;
        }
        ++from;
    };
    while (end - from >= block) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out), bytes);
        const auto different =
            static_cast<unsigned>(_mm_movemask_epi8(EscapedText::Differing(bytes))) | 1u << block;  // one at the end
        const int same = std::countr_zero(different);
        out += same;
        from += same;
        if (same != block) putOne();
    }
    while (from != end) putOne();
    return out;
}

std::u16string_view TakePiece(std::u16string_view& text, std::size_t most) noexcept {
    std::u16string_view piece = text.substr(0, most);
    if (piece.size() < text.size() && IsHighSurrogate(piece.back()) && IsLowSurrogate(text[piece.size()]))
        piece.remove_suffix(1);
    text.remove_prefix(piece.size());
    return piece;
}

std::size_t Utf16Length(std::string_view text) noexcept {
    // A unit for each byte that begins a character, and another one where four bytes do.
    const char* from = text.data();
    const char* const end = from + text.size();
    __m128i sums = _mm_setzero_si128();
    for (; end - from >= 16; from += 16) {
        const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        const __m128i begins = _mm_cmpgt_epi8(bytes, _mm_set1_epi8('\xBF'));
        const __m128i beginsFour = _mm_cmpeq_epi8(_mm_max_epu8(bytes, _mm_set1_epi8('\xF0')), bytes);
        const __m128i counts = _mm_sub_epi8(_mm_setzero_si128(), _mm_add_epi8(begins, beginsFour));
        sums = _mm_add_epi64(sums, _mm_sad_epu8(counts, _mm_setzero_si128()));
    }
    auto length = static_cast<std::size_t>(_mm_cvtsi128_si64(_mm_add_epi64(sums, _mm_unpackhi_epi64(sums, sums))));
    for (; from != end; ++from) {
        const auto byte = static_cast<std::uint8_t>(*from);
        length += static_cast<std::size_t>((byte & 0xC0) != 0x80) + static_cast<std::size_t>(byte >= 0xF0);
    }
    return length;
}

char16_t* PutUtf16(char16_t* out, std::string_view text) noexcept {
    const char* from = text.data();
    const char* const end = from + text.size();
    const auto following = [&] { return static_cast<char32_t>(static_cast<std::uint8_t>(*from++) & 0x3F); };
    while (from != end) {
        while (end - from >= 16) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
            const auto others = static_cast<unsigned>(_mm_movemask_epi8(bytes)) | 1u << 16;
            if (others != 1u << 16) break;
            auto* const units = reinterpret_cast<__m128i*>(out);
            _mm_storeu_si128(units, _mm_unpacklo_epi8(bytes, _mm_setzero_si128()));
            _mm_storeu_si128(units + 1, _mm_unpackhi_epi8(bytes, _mm_setzero_si128()));
            from += 16;
            out += 16;
        }
        // To the end of the next run that is not ASCII.
        bool begun = false;
        while (from != end && !(begun && static_cast<std::uint8_t>(*from) < 0x80)) {
            const auto first = static_cast<std::uint8_t>(*from++);
            if (first < 0x80) {
                *out++ = first;
                continue;
            }
            begun = true;
            if (first < 0xE0) {
                *out++ = static_cast<char16_t>((first & 0x1Fu) << 6 | following());
            } else if (first < 0xF0) {
                const char32_t middle = following();
                *out++ = static_cast<char16_t>((first & 0xFu) << 12 | middle << 6 | following());
            } else {
                const char32_t second = following();
                const char32_t third = following();
                const char32_t character = (first & 7u) << 18 | second << 12 | third << 6 | following();
                *out++ = static_cast<char16_t>(0xD7C0 + (character >> 10));
                *out++ = static_cast<char16_t>(0xDC00 | (character & 0x3FF));
            }
        }
    }
    return out;
}

}  // namespace kv
