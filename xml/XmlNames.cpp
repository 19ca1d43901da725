#include "xml/XmlNames.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace xml {
namespace {

struct Range {
    char32_t first, last;
};
/// NameStartChar but for the colon.
constexpr Range startRanges[] = {
    {U'A', U'Z'},     {U'_', U'_'},     {U'a', U'z'},     {0xC0, 0xD6},     {0xD8, 0xF6},
    {0xF8, 0x2FF},    {0x370, 0x37D},   {0x37F, 0x1FFF},  {0x200C, 0x200D}, {0x2070, 0x218F},
    {0x2C00, 0x2FEF}, {0x3001, 0xD7FF}, {0xF900, 0xFDCF}, {0xFDF0, 0xFFFD}, {0x10000, 0xEFFFF},
};
/// What NameChar has beyond it.
constexpr Range partRanges[] = {
    {U'-', U'.'}, {U'0', U'9'}, {0xB7, 0xB7}, {0x300, 0x36F}, {0x203F, 0x2040},
};

template <std::size_t count>
constexpr bool IsIn(const Range (&ranges)[count], char32_t character) noexcept {
    const auto* const found = std::lower_bound(std::begin(ranges), std::end(ranges), character,
                                               [](const Range& range, char32_t c) { return range.last < c; });
    return found != std::end(ranges) && found->first <= character;
}

/// Nearly all names are of ASCII.
template <class Answer>
constexpr std::array<bool, 128> AnswersForAscii(Answer answer) noexcept {
    std::array<bool, 128> answers{};
    for (char32_t ascii = 0; ascii < answers.size(); ++ascii) answers[ascii] = answer(ascii);
    return answers;
}
constexpr auto startsInAscii = AnswersForAscii([](char32_t ascii) { return IsIn(startRanges, ascii); });
constexpr auto partsInAscii =
    AnswersForAscii([](char32_t ascii) { return IsIn(startRanges, ascii) || IsIn(partRanges, ascii); });

struct Character {
    char32_t code;
    std::size_t length;  ///< in units
};

/// The character at the front of a text; a lone surrogate is one of its own.
Character FirstOf(std::u16string_view text) noexcept {
    const char32_t first = text.front();
    const char32_t second = text.size() > 1 ? text[1] : 0;
    if ((first & 0xFC00) != 0xD800 || (second & 0xFC00) != 0xDC00) return {first, 1};
    return {0x10000 + ((first & 0x3FF) << 10) + (second & 0x3FF), 2};
}

constexpr std::u16string_view digits = u"0123456789ABCDEF";
constexpr std::u16string_view emptyText = u"_x_";
constexpr std::u16string_view escapeStart = u"_x";
constexpr std::size_t escapeDigits = 4;
constexpr std::size_t escapeSize = 7;  // with the underscore at its end

void AppendEscape(std::u16string& out, char16_t unit) {
    out += escapeStart;
    for (int shift = 12; shift >= 0; shift -= 4) out += digits[unit >> shift & 0xF];
    out += u'_';
}

/// The unit that the digits of an escape stand for, whether or not the underscore at its end is there.
std::optional<char16_t> UnitEscapedAt(std::u16string_view text) noexcept {
    if (!text.starts_with(escapeStart) || text.size() < escapeStart.size() + escapeDigits) return {};
    unsigned unit = 0;
    for (const char16_t digit : text.substr(escapeStart.size(), escapeDigits)) {
        const auto upper = static_cast<char16_t>(digit >= u'a' && digit <= u'f' ? digit - u'a' + u'A' : digit);
        const std::size_t value = digits.find(upper);
        if (value == std::u16string_view::npos) return {};
        unit = unit << 4 | static_cast<unsigned>(value);
    }
    return static_cast<char16_t>(unit);
}

}  // namespace

bool IsNameStart(char32_t character) noexcept {
    return character < startsInAscii.size() ? startsInAscii[character] : IsIn(startRanges, character);
}

bool IsNamePart(char32_t character) noexcept {
    if (character < partsInAscii.size()) return partsInAscii[character];
    return IsIn(startRanges, character) || IsIn(partRanges, character);
}

bool IsName(std::u16string_view text) noexcept {
    if (text.empty() || !IsNameStart(FirstOf(text).code)) return false;
    while (!text.empty()) {
        const Character character = FirstOf(text);
        if (!IsNamePart(character.code)) return false;
        text.remove_prefix(character.length);
    }
    return true;
}

std::optional<QualifiedName> SplitName(std::u16string_view text) noexcept {
    const std::size_t colon = text.find(u':');
    QualifiedName name{{}, text};
    if (colon != std::u16string_view::npos) {
        name = {text.substr(0, colon), text.substr(colon + 1)};
        if (!IsName(name.prefix)) return {};
    }
    if (!IsName(name.local)) return {};
    return name;
}

void AppendEncodedName(std::u16string& out, std::u16string_view text) {
    if (text.empty()) out += emptyText;
    bool isFirst = true;
    bool isAmbiguous = text == emptyText;  // an escape of no other text may come of it
    while (!text.empty()) {
        const Character character = FirstOf(text);
        isAmbiguous |= UnitEscapedAt(text).has_value();
        const bool mayStand = isFirst ? IsNameStart(character.code) : IsNamePart(character.code);
        for (const char16_t unit : text.substr(0, character.length)) {
            if (mayStand && !isAmbiguous) {
                out += unit;
            } else {
                AppendEscape(out, unit);
            }
        }
        text.remove_prefix(character.length);
        isFirst = isAmbiguous = false;
    }
}

void AppendDecodedName(std::u16string& out, std::u16string_view name) {
    if (name == emptyText) return;
    while (!name.empty()) {
        const auto escaped = UnitEscapedAt(name);
        const bool isEscape = escaped && name.size() >= escapeSize && name[escapeSize - 1] == u'_';
        out += isEscape ? *escaped : name.front();
        name.remove_prefix(isEscape ? escapeSize : 1);
    }
}

}  // namespace xml
