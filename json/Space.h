#pragma once

namespace json {

/// White space as the platform's runtime has it, whatever the locale.
constexpr bool IsSpace(char16_t unit) noexcept {
    if (unit < 0xA0) return unit == u' ' || (unit >= u'\t' && unit <= u'\r');
    return unit == 0xA0 || unit == 0x1680 || (unit >= 0x2000 && unit <= 0x200A) || unit == 0x2028 || unit == 0x2029 ||
           unit == 0x202F || unit == 0x205F || unit == 0x3000;
}

/// Whether a unit ends a number or a word.
constexpr bool EndsScalar(char16_t unit) noexcept {
    return unit == u',' || unit == u']' || unit == u'}' || IsSpace(unit);
}

}  // namespace json
