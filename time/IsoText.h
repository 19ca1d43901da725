// Reading ISO 8601 texts of dates and times.
#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

#include "kvcore/DateTime.h"

namespace calendar {

/// What the form of such a text is, as a regular expression in the syntax of Perl.
///
/// It takes more than it seems: "2020-15" is a year and a day; the time may lack minutes or seconds with the colon in
/// front of them there or not; and an offset may stand behind the hour.
inline constexpr std::string_view isoPattern =
    "^([0-9]{4})(-(1[0-2]|0[1-9]))?(-([0-3][0-9]))?(T(2[0-3]|[01][0-9]):?([0-5][0-9])?:?([0-5][0-9])?(\\.([0-9]+))?"
    "(?:([zZ])|([+-])(?:(2[0-3]|[01][0-9]))(?::?(?:([0-5][0-9])))?)?)?$";

/// The parts of a text of that form as they stand in it, not yet known to be a date.
struct IsoParts {
    std::int32_t year = 0;
    std::int32_t month = 1;
    std::int32_t day = 1;
    std::int32_t hour = 0;
    std::int32_t minute = 0;
    std::int32_t second = 0;
    std::u16string_view fraction;  ///< digits, within the text; empty for none
    std::int32_t offset = 0;       ///< from UTC, in minutes

    friend bool operator==(const IsoParts&, const IsoParts&) noexcept = default;
};

/// Reads a text one way or another.
using IsoReader = std::optional<IsoParts>(std::u16string_view text) noexcept;

/// Reads a text of the form of isoPattern: the whole of it, in one pass from left to right.
/// @return nothing for any other text
std::optional<IsoParts> MatchIsoText(std::u16string_view text) noexcept;

/// Reads a text as the older reader does: year, month and day between hyphens, and behind a T hour, minute and second
/// between colons and decimals behind a point; the year alone must be there. Any numbers of digits will do. A zone is
/// the first plus, hyphen or letter in the time: Z in either case, or a sign with hours, and minutes in two digits
/// behind a colon or none.
/// @return nothing for any other text
std::optional<IsoParts> ScanIsoText(std::u16string_view text) noexcept;

/// The date and time that parts are. Decimals behind the ninth are rounded, halves up; a second that this makes whole
/// is carried, as far as the year.
/// @return nothing where there is no such date or time
std::optional<kv::DateTime> TimeOf(const IsoParts& parts) noexcept;

}  // namespace calendar
