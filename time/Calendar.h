// What a date and time of day are, day numbers, and the adding of amounts.
#pragma once

#include <array>
#include <cstdint>
#include <optional>

#include "kvcore/CivilDay.h"
#include "kvcore/DateTime.h"

namespace calendar {

/// The rules between dates and day numbers; other values stand for none.
enum class Mode : std::uint32_t { Gregorian, Julian };
constexpr bool IsMode(Mode mode) noexcept {
    return mode == Mode::Gregorian || mode == Mode::Julian;
}

/// The day number of 1582-10-15, the first day after the reform.
inline constexpr std::int32_t reformDay = 2'299'161;
/// The years that day numbers and sums can lead to.
inline constexpr std::int32_t earliestYear = -32'767;
inline constexpr std::int32_t latestYear = 32'767;

/// Whether a month of a year has a day. February has 29 days in each year up to 1582 that 4 divides, the number of a
/// year before the common era taken as it is written, and by the Gregorian rule afterwards. The mode does not matter,
/// so before 1583 not every date of a day number is one.
bool IsDate(std::int32_t year, std::int32_t month, std::int32_t day) noexcept;
/// Whether it is a date, and a time of day of a day without leap seconds.
bool IsValid(const kv::DateTime& fields) noexcept;
/// The same, but for the 29th of February, which every year has: what a time can be that was not put together by its
/// fields.
bool IsPossible(const kv::DateTime& fields) noexcept;

/// The Julian day number of a date. In Julian mode that of the Julian calendar, after the reform, too; in one that is
/// no mode -1 for all dates.
/// @return nothing in Julian mode for the 5th to 14th of October of any year
inline std::optional<std::int32_t> DayNumberOf(const kv::DateTime& fields, Mode mode) noexcept {
    const kv::CivilDate date{kv::AstronomicalYear(fields.year), fields.month, fields.day};
    if (mode == Mode::Gregorian) return kv::DayNumber(date);
    if (mode != Mode::Julian) return -1;
    if (fields.month == 10 && fields.day >= 5 && fields.day <= 14) return {};
    return kv::DayNumber(date, kv::Calendar::Julian);
}

namespace detail {

struct Range {
    std::int32_t first, last;
};

/// The day numbers of the years that there are, by mode.
constexpr Range RangeOf(kv::Calendar early) noexcept {
    return {kv::DayNumber({kv::AstronomicalYear(earliestYear), 1, 1}, early), kv::DayNumber({latestYear, 12, 31})};
}
inline constexpr std::array<Range, 2> ranges = {RangeOf(kv::Calendar::Gregorian), RangeOf(kv::Calendar::Julian)};

}  // namespace detail

/// Sets the date to that of a day number, and leaves the time of day. By the Gregorian calendar, but in Julian mode
/// before the reform by the Julian one.
/// @return false, the fields unchanged, outside earliestYear to latestYear
inline bool SetDate(kv::DateTime& fields, std::int64_t dayNumber, Mode mode) noexcept {
    const detail::Range range = detail::ranges[mode == Mode::Julian ? 1 : 0];
    if (dayNumber < range.first || dayNumber > range.last) return false;
    const bool isBeforeReform = mode == Mode::Julian && dayNumber < reformDay;
    const auto day = static_cast<std::int32_t>(dayNumber);
    const kv::CivilDate date =  // in each of the two the calendar is a constant
        isBeforeReform ? kv::DateOf(day, kv::Calendar::Julian) : kv::DateOf(day, kv::Calendar::Gregorian);
    fields.year = static_cast<std::int16_t>(kv::WrittenYear(date.year));
    fields.month = static_cast<std::int16_t>(date.month);
    fields.day = static_cast<std::int16_t>(date.day);
    return true;
}

/// The day of the week of a day number, 1 for Monday to 7 for Sunday.
constexpr int DayOfWeek(std::int32_t dayNumber) noexcept {
    return (dayNumber % 7 + 7) % 7 + 1;
}

/// What came of an operation that changes a time, which is as it was in any case but the first.
enum class Outcome : std::uint8_t { Done, NoDayNumber, OutOfRange };

/// Adds days and nanoseconds: the date changes by day number, and only where the day does.
/// @param nanoseconds less than a day in either direction
Outcome Add(kv::DateTime& fields, Mode mode, std::int64_t days, std::int64_t nanoseconds) noexcept;
/// Adds so many units of so many nanoseconds each, of which a whole number is a day.
Outcome AddUnits(kv::DateTime& fields, Mode mode, std::int64_t amount, std::int64_t unit) noexcept;
/// Adds a length of seconds and nanoseconds, the latter 0 to 999,999,999.
Outcome AddLength(kv::DateTime& fields, Mode mode, std::int64_t seconds, std::int32_t nanoseconds) noexcept;
Outcome AddWeeks(kv::DateTime& fields, Mode mode, std::int64_t amount) noexcept;
/// Adds months, which are counted over the missing year 0. A day that the month does not have by the rules of the mode
/// becomes its last one; no months added leave the date as it is.
/// @param months 40 bits at most
Outcome AddMonths(kv::DateTime& fields, Mode mode, std::int64_t months) noexcept;

/// The next second. Unlike Add it needs no day number: dates follow upon each other as IsDate says.
/// @return false where the years end
bool StepSecond(kv::DateTime& fields) noexcept;

}  // namespace calendar
