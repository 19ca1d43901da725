// Values to and from text, in the forms of XML Schema.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string_view>

#include "kvcore/IdBits.h"

namespace xml {

/// Whether a unit is what XML has for white space: a blank, a tab or a line end.
constexpr bool IsBlank(char16_t unit) noexcept {
    return unit == u' ' || unit == u'\t' || unit == u'\r' || unit == u'\n';
}
/// A text without the white space around it.
std::u16string_view WithoutBlanks(std::u16string_view text) noexcept;

// In reading, blanks, tabs and line ends around a value are dropped. What is no such value, or beyond its range, is
// nothing.

/// A number, or INF, -INF or NaN.
std::optional<double> ReadDouble(std::u16string_view text) noexcept;
std::optional<float> ReadFloat(std::u16string_view text) noexcept;
/// An integer within a range.
std::optional<std::int64_t> ReadInteger(std::u16string_view text, std::int64_t least, std::int64_t greatest) noexcept;
/// An integer from 0 on. What is below is nothing, but for -0.
std::optional<std::uint64_t> ReadUnsigned(std::u16string_view text, std::uint64_t greatest) noexcept;
/// true, false, 1 or 0.
std::optional<bool> ReadBoolean(std::u16string_view text) noexcept;

/// A decimal number of 96 bits, high * 2^64 + low, with so many of its digits behind the point.
struct Decimal {
    std::uint32_t high = 0;
    std::uint64_t low = 0;
    int scale = 0;
    bool isNegative = false;

    friend bool operator==(const Decimal&, const Decimal&) noexcept = default;
};
/// A decimal number without an exponent. Zeros at its end count for nothing; what then has more digits than there are
/// bits for, or more decimals, is nothing: no digit is lost.
std::optional<Decimal> ReadDecimal(std::u16string_view text) noexcept;
/// The same as an amount in ten-thousandths.
std::optional<std::int64_t> ReadCurrency(std::u16string_view text) noexcept;

/// An identifier in braces or without.
std::optional<kv::IdBits> ReadGuid(std::u16string_view text) noexcept;

/// Pairs of hexadecimal digits in either case.
/// @param out has room for a byte for each two units of the text. @return how many were written; nothing where the text
/// is
///     none
std::optional<std::size_t> ReadHex(std::byte* out, std::u16string_view text) noexcept;
/// Writes bytes as pairs of hexadecimal digits in upper case. @param out has room for two units a byte.
/// @return the end of what was written
char16_t* PutHex(char16_t* out, std::span<const std::byte> bytes) noexcept;

/// A date, with a time or without, as an OLE date in UTC to the millisecond; one that names no offset is in UTC.
/// Years 100 to 9999, for OLE dates have no others.
std::optional<double> ReadDate(std::u16string_view text) noexcept;
/// Why a date has no text.
inline constexpr auto noDateText = u"The date is outside the years 100 to 9999.";
/// The room that a date's text may use.
inline constexpr std::size_t dateTextSize = 32;
/// Writes an OLE date in UTC with its time, as in 2020-01-31T07:30:00.5Z, to memory with dateTextSize bytes.
/// @return the end of the text; null where it is outside the years 100 to 9999
char* FormatDate(char* out, double date) noexcept;

}  // namespace xml
