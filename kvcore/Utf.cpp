#include "kvcore/Utf.h"

#include <array>
#include <cstdint>

namespace kv {
namespace {

constexpr char16_t replacement = 0xFFFD;

constexpr bool IsHighSurrogate(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xD800;
}
constexpr bool IsLowSurrogate(char16_t unit) noexcept {
    return (unit & 0xFC00) == 0xDC00;
}
constexpr bool IsSurrogate(char32_t character) noexcept {
    return (character & 0xFFFF'F800) == 0xD800;
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

/// Reads one character, or a lone surrogate, from the front of the text.
char32_t TakeCharacter(std::u16string_view& text) noexcept {
    const char16_t first = text[0];
    if (IsHighSurrogate(first) && text.size() > 1 && IsLowSurrogate(text[1])) {
        const char32_t character = 0x10000 + ((first & 0x3FFu) << 10) + (text[1] & 0x3FFu);
        text.remove_prefix(2);
        return character;
    }
    text.remove_prefix(1);
    return first;
}

void AppendUtf8(std::string& out, char32_t character) {
    const auto put = [&](char32_t byte) { out += static_cast<char>(static_cast<unsigned char>(byte)); };
    if (character < 0x80) {
        put(character);
    } else if (character < 0x800) {
        put(0xC0 | character >> 6);
        put(0x80 | (character & 0x3F));
    } else if (character < 0x10000) {
        put(0xE0 | character >> 12);
        put(0x80 | (character >> 6 & 0x3F));
        put(0x80 | (character & 0x3F));
    } else {
        put(0xF0 | character >> 18);
        put(0x80 | (character >> 12 & 0x3F));
        put(0x80 | (character >> 6 & 0x3F));
        put(0x80 | (character & 0x3F));
    }
}

/// The letter of a short escape; NUL where the character has none.
constexpr char ShortEscape(char32_t character) noexcept {
    switch (character) {
        case U'"':
        case U'\\':
            return static_cast<char>(character);
        case U'\b':
            return 'b';
        case U'\f':
            return 'f';
        case U'\n':
            return 'n';
        case U'\r':
            return 'r';
        case U'\t':
            return 't';
        default:
            return '\0';
    }
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
    while (!text.empty()) {
        const char32_t character = TakeCharacter(text);
        AppendUtf8(out, IsSurrogate(character) ? replacement : character);
    }
    return out;
}

void AppendQuoted(std::string& out, std::u16string_view text) {
    constexpr std::string_view digits = "0123456789abcdef";
    out += '"';
    while (!text.empty()) {
        const char32_t character = TakeCharacter(text);
        if (const char letter = ShortEscape(character)) {
            out.append({'\\', letter});
        } else if (character < 0x20 || IsSurrogate(character)) {
            out += "\\u";
            for (int shift = 12; shift >= 0; shift -= 4) out += digits[character >> shift & 0xF];
        } else {
            AppendUtf8(out, character);
        }
    }
    out += '"';
}

}  // namespace kv
