// Decimal digits of times, written and read.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string_view>

namespace calendar {

constexpr bool IsDigit(char16_t unit) noexcept {
    return unit >= u'0' && unit <= u'9';
}

namespace detail {

inline constexpr auto digitPairs = [] {
    std::array<char16_t, 200> pairs{};
    for (std::size_t i = 0; i < 100; ++i) {
        pairs[2 * i] = static_cast<char16_t>(u'0' + i / 10);
        pairs[2 * i + 1] = static_cast<char16_t>(u'0' + i % 10);
    }
    return pairs;
}();

}  // namespace detail

/// Writes a number below 100 in two digits. @return the end of what was written, as in all of these
inline char16_t* PutTwo(char16_t* out, std::uint32_t number) noexcept {
    std::memcpy(out, &detail::digitPairs[2 * number], 2 * sizeof *out);
    return out + 2;
}

/// The most units that an integer of 32 bits takes.
inline constexpr std::size_t integerTextSize = 11;

/// Writes an integer as printf's "%d" does; "%02d", where it is told to take two units at least, and so on.
inline char16_t* PutInteger(char16_t* out, std::int32_t number, std::ptrdiff_t leastUnits = 1) noexcept {
    std::array<char16_t, integerTextSize> digits;
    char16_t* const end = digits.data() + digits.size();
    char16_t* first = end;
    std::uint32_t rest = number < 0 ? 0u - static_cast<std::uint32_t>(number) : static_cast<std::uint32_t>(number);
    const std::ptrdiff_t leastDigits = leastUnits - (number < 0 ? 1 : 0);
    do {
        *--first = static_cast<char16_t>(u'0' + rest % 10);
        rest /= 10;
    } while (rest != 0 || end - first < leastDigits);
    if (number < 0) *--first = u'-';
    std::memcpy(out, first, static_cast<std::size_t>(end - first) * sizeof *out);
    return out + (end - first);
}

/// Writes a year as "%04d" does.
inline char16_t* PutYear(char16_t* out, std::int32_t year) noexcept {
    if (year < 0 || year > 9'999) return PutInteger(out, year, 4);
    return PutTwo(PutTwo(out, static_cast<std::uint32_t>(year) / 100), static_cast<std::uint32_t>(year) % 100);
}

/// Writes nanoseconds as the digits behind a point: nine, without the zeros at their end, but one at least. Room for
/// all nine is used.
inline char16_t* PutFraction(char16_t* out, std::int32_t nanosecond) noexcept {
    const auto number = static_cast<std::uint32_t>(nanosecond);
    *out++ = static_cast<char16_t>(u'0' + number / 100'000'000);
    char16_t* const second = out;
    const std::uint32_t upper = number / 10'000 % 10'000;
    const std::uint32_t lower = number % 10'000;
    out = PutTwo(PutTwo(out, upper / 100), upper % 100);
    out = PutTwo(PutTwo(out, lower / 100), lower % 100);
    while (out != second && out[-1] == u'0') --out;
    return out;
}

/// Nanoseconds that a second's decimals are, rounded: 0 to a whole second.
inline std::int32_t ReadFraction(std::u16string_view digits) noexcept {
    constexpr std::size_t kept = 9;
    std::int32_t nanoseconds = 0;
    for (std::size_t i = 0; i < kept; ++i) nanoseconds = nanoseconds * 10 + (i < digits.size() ? digits[i] - u'0' : 0);
    return nanoseconds + (digits.size() > kept && digits[kept] >= u'5' ? 1 : 0);
}

}  // namespace calendar
