// Times as text in layouts of digits.
#pragma once

#include <cstddef>
#include <cstdint>

#include "kvcore/DateTime.h"

namespace calendar {

/// The room that a time's text may use.
inline constexpr std::size_t timeTextSize = 48;
/// How many layouts there are.
inline constexpr std::uint32_t layoutCount = 23;

/// Writes a time in a layout, 0 to 22, which are those of movaTimeFormat. The year has four units at least, a minus
/// sign counted; every other part two digits. Decimals of the second are its nanoseconds without the zeros at their
/// end, one digit at least, or milliseconds in three digits.
/// @param fields all in their ranges @param out has room for timeTextSize units
/// @return the end of the text; null where the layout is none
char16_t* FormatTime(char16_t* out, const kv::DateTime& fields, std::uint32_t layout) noexcept;

/// The greatest offset from UTC that a text can state, in minutes: less than a day.
inline constexpr std::int32_t greatestOffset = 24 * 60 - 1;

/// Writes a time with its offset from UTC as XML has it: 2020-05-17T10:20:30.5+02:00, without a point in whole seconds.
/// @param offset in minutes, no further from 0 than greatestOffset
char16_t* FormatXmlTime(char16_t* out, const kv::DateTime& fields, std::int32_t offset) noexcept;

}  // namespace calendar
