#include "json/Unescape.h"

#include <bit>
#include <cstring>

#include "json/Units.h"

namespace json {
namespace {

/// The value of a hexadecimal digit; -1 for another character.
constexpr int HexDigit(char16_t unit) noexcept {
    if (unit >= u'0' && unit <= u'9') return unit - u'0';
    const auto lower = static_cast<char16_t>(unit | 0x20);
    return lower >= u'a' && lower <= u'f' ? lower - u'a' + 10 : -1;
}

/// The unit that four hexadecimal digits stand for; -1 where they are none.
constexpr int FourDigits(const char16_t* text) noexcept {
    return HexDigit(text[0]) < 0 || HexDigit(text[1]) < 0 || HexDigit(text[2]) < 0 || HexDigit(text[3]) < 0
               ? -1
               : HexDigit(text[0]) << 12 | HexDigit(text[1]) << 8 | HexDigit(text[2]) << 4 | HexDigit(text[3]);
}

/// What the character behind a backslash stands for, but for u.
constexpr char16_t Escaped(char16_t letter) noexcept {
    switch (letter) {
        case u'b':
            return u'\b';
        case u'f':
            return u'\f';
        case u'n':
            return u'\n';
        case u'r':
            return u'\r';
        case u't':
            return u'\t';
        default:
            return letter;
    }
}

/// Copies up to the next backslash. @return where that is, or the end
const char16_t* CopyPlain(const char16_t* from, const char16_t* end, char16_t*& out) noexcept {
    while (end - from >= Units::count) {
        const unsigned backslashes = Units(from).Equal('\\');
        std::memcpy(out, from, Units::count * sizeof *out);  // there is room for as much as there is left
        const int plain = backslashes == 0 ? static_cast<int>(Units::count) : std::countr_zero(backslashes);
        out += plain;
        from += plain;
        if (backslashes != 0) return from;
    }
    while (from != end && *from != u'\\') *out++ = *from++;
    return from;
}

}  // namespace

std::size_t Unescape(std::u16string_view between, char16_t* out) noexcept {
    const char16_t* from = between.data();
    const char16_t* const end = from + between.size();
    char16_t* const begin = out;
    for (;;) {
        from = CopyPlain(from, end, out);
        if (from == end) break;
        if (end - from == 1) {
            *out++ = *from;
            break;
        }
        const int unit = from[1] == u'u' && end - from >= 6 ? FourDigits(from + 2) : -1;
        *out++ = unit >= 0 ? static_cast<char16_t>(unit) : Escaped(from[1]);
        from += unit >= 0 ? 6 : 2;
    }
    return static_cast<std::size_t>(out - begin);
}

}  // namespace json
