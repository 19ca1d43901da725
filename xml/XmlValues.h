// Values to and from text, in the forms of XML Schema.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>

namespace xml {

// In reading, blanks, tabs and line ends around a value are dropped. What is no such value, or beyond its range, is
// nothing.

/// A number, or INF, -INF or NaN.
std::optional<double> ReadDouble(std::u16string_view text) noexcept;
std::optional<float> ReadFloat(std::u16string_view text) noexcept;
/// An integer within a range.
std::optional<std::int64_t> ReadInteger(std::u16string_view text, std::int64_t least, std::int64_t greatest) noexcept;
/// true, false, 1 or 0.
std::optional<bool> ReadBoolean(std::u16string_view text) noexcept;

/// A date, with a time or without, as an OLE date in UTC to the millisecond; one that names no offset is in UTC.
/// Years 100 to 9999, for OLE dates have no others.
std::optional<double> ReadDate(std::u16string_view text) noexcept;
/// The room that a date's text may use.
inline constexpr std::size_t dateTextSize = 32;
/// Writes an OLE date in UTC with its time, as in 2020-01-31T07:30:00.5Z, to memory with dateTextSize bytes.
/// @return the end of the text; null where it is outside the years 100 to 9999
char* FormatDate(char* out, double date) noexcept;

}  // namespace xml
