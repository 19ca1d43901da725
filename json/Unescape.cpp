#include "json/Unescape.h"

#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

#include "json/Units.h"

namespace json {
namespace {

/// The values of hexadecimal digits; -1 for other characters.
constexpr auto hexDigits = [] {
    std::array<std::int8_t, 128> values{};
    values.fill(-1);
    for (std::size_t i = 0; i < 10; ++i) values[u'0' + i] = static_cast<std::int8_t>(i);
    for (std::size_t i = 10; i < 16; ++i) values[u'A' + i - 10] = values[u'a' + i - 10] = static_cast<std::int8_t>(i);
    return values;
}();

/// The unit that four hexadecimal digits stand for; below 0 where they are none.
int FourDigits(const char16_t* text) noexcept {
    if ((text[0] | text[1] | text[2] | text[3]) >= static_cast<int>(hexDigits.size())) return -1;
    const auto digit = [&](int at) { return static_cast<int>(hexDigits[text[at]]); };
    return digit(0) * 0x1000 | digit(1) * 0x100 | digit(2) * 0x10 | digit(3);
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
    while (from != end) {
        if (*from != u'\\') {
            from = CopyPlain(from, end, out);
            continue;
        }
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
